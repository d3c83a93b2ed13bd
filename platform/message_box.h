// What tests ask of messageBox, which would wait for somebody to close the box.
#pragma once

namespace vl::platform {

/// From now on messageBox writes on standard error and returns, as it does where the system has no boxes.
void tellOnStandardError();

} // namespace vl::platform
