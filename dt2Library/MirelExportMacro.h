#pragma once
// Symbols are hidden by default; only what carries MIREL_API is part of the library's interface.
#if defined(_WIN32)
#  ifdef MIREL25D_BUILDING
#    define MIREL_API __declspec(dllexport)
#  else
#    define MIREL_API __declspec(dllimport)
#  endif
#else
#  define MIREL_API __attribute__((visibility("default")))
#endif
