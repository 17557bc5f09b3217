// Calling convention of published binary interfaces.
#pragma once

// Methods and functions of such interfaces: __stdcall on 32-bit x86 Windows, where it differs from
// the compiler's own convention; nothing elsewhere.
#if defined(_WIN32) && (defined(_M_IX86) || defined(__i386__))
#define PARVANE_STDCALL __stdcall
#else
#define PARVANE_STDCALL
#endif
