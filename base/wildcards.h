// Wildcards in the names of files.
#pragma once

namespace vl {

/// Whether `name` matches `pattern` (`*` any run of characters, `?` exactly one), without regard to the case
/// of A-Z. The time is at most proportional to the product of both lengths.
bool matchesWildcards(const char *pattern, const char *name);

} // namespace vl
