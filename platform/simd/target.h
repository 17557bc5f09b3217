// How the files of this folder compile a function for instructions that the machine may lack.
#pragma once

#if defined(__x86_64__) || defined(__i386__) || defined(_M_X64)
#define PARVANE_X86 1
#include <immintrin.h>
#endif

#if defined(PARVANE_X86) && defined(__GNUC__)
#define PARVANE_TARGET(features) __attribute__((target(features)))
#else
#define PARVANE_TARGET(features)
#endif
