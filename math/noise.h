// The seam between the start-up of the math library and the noise: filling the tables.
#pragma once

namespace vl {

/// Builds the noise tables from the next draws of the calling thread's random generator.
void buildNoiseTables();

} // namespace vl
