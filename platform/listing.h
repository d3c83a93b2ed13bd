// What the part of the layer that is the same on every system asks of each system's folder.
#pragma once

#include <functional>
#include <string_view>

namespace vl::platform {

/// Hands the names in a directory to `visit`, in no order and without "." and "..". False when the directory
/// cannot be read to its end. What `visit` throws passes through.
bool visitNames(std::string_view directory, const std::function<void(const char *)> &visit);

} // namespace vl::platform
