// Included first by every source of this folder, before any system header: file offsets and times of 64 bits
// in 32-bit code as well.
#pragma once

#ifndef _FILE_OFFSET_BITS
#define _FILE_OFFSET_BITS 64
#endif
#ifndef _TIME_BITS
#define _TIME_BITS 64
#endif
