#pragma once
// The process-wide message channel and the assertion banner. Every unit reports
// through these; nothing else in the library writes diagnostics.
#include "MirelExportMacro.h"
#include "MirelException.h"
#include <string>

namespace MIREL25D {

// "\n      [Mirel2D-Message] <place>, WARNING: <text>\n\n" on standard output.
MIREL_API void sendWarning(const std::string& place, const std::string& text);
// The same with ", ERROR: ".
MIREL_API void sendError(const std::string& place, const std::string& text);

// Prints the banner, writes "MIREL_LOG.txt" and throws MirelException. The
// macro below passes __FILE__ and the compiler's decorated function name
// (__PRETTY_FUNCTION__, or __FUNCSIG__ with MSVC); the banner cites the unit as
// "dt2Library/<base name>" and the qualified function name without its
// signature.
[[noreturn]] MIREL_API void assertionFailure(const char* condition, const char* sourceFile, int line, const char* prettyFunction);

// "void MIREL25D::Dt2::insert(const Point2&)" -> "MIREL25D::Dt2::insert"
MIREL_API std::string qualifiedFunctionName(const char* prettyFunction);
// "/any/path/dt2Library/Dt2.cpp" -> "dt2Library/Dt2"
MIREL_API std::string unitName(const char* sourceFile);

} // namespace MIREL25D

#if defined(_MSC_VER) && !defined(__clang__)
#define MIREL_FUNCTION_SIGNATURE __FUNCSIG__
#else
#define MIREL_FUNCTION_SIGNATURE __PRETTY_FUNCTION__
#endif

#define MIREL_ASSERT(cond)                                                                         \
	do {                                                                                           \
		if(!(cond)) ::MIREL25D::assertionFailure(#cond, __FILE__, __LINE__, MIREL_FUNCTION_SIGNATURE); \
	} while(0)
