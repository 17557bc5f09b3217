// How the files of this folder compile a function for instructions that the machine may lack.
#pragma once

#if defined(__x86_64__) || defined(__i386__) || defined(_M_X64)
#define PARVANE_X86 1
#include <immintrin.h>
#elif defined(__AARCH64EL__) || defined(_M_ARM64)
#define PARVANE_ARM64 1
#include <arm_neon.h>
#endif

#if defined(PARVANE_X86) && defined(__GNUC__)
#define PARVANE_TARGET(features) __attribute__((target(features)))
#else
#define PARVANE_TARGET(features)
#endif

// ARM's instructions for CRC-32, which GCC and Clang name differently.
#if defined(PARVANE_ARM64) && defined(__clang__)
#define PARVANE_TARGET_CRC __attribute__((target("crc")))
#elif defined(PARVANE_ARM64) && defined(__GNUC__)
#define PARVANE_TARGET_CRC __attribute__((target("+crc")))
#else
#define PARVANE_TARGET_CRC
#endif
