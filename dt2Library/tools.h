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
// macro below passes __FILE__ and __PRETTY_FUNCTION__; the banner cites the unit
// as "dt2Library/<base name>" and the qualified function name without its
// signature.
[[noreturn]] MIREL_API void assertionFailure(const char* condition, const char* sourceFile, int line, const char* prettyFunction);

// "void MIREL25D::Dt2::insert(const Point2&)" -> "MIREL25D::Dt2::insert"
MIREL_API std::string qualifiedFunctionName(const char* prettyFunction);
// "/any/path/dt2Library/Dt2.cpp" -> "dt2Library/Dt2"
MIREL_API std::string unitName(const char* sourceFile);

} // namespace MIREL25D

// Checks of broken invariants, always on.
#define MIREL_ASSERT(cond)                                                              \
	do {                                                                                \
		if(!(cond)) ::MIREL25D::assertionFailure(#cond, __FILE__, __LINE__, __PRETTY_FUNCTION__); \
	} while(0)

// The debug tier: per-step checks inside hot loops and index preconditions.
// Compiled out where NDEBUG is set (Release builds); the condition is still
// parsed there, so it cannot rot.
#ifdef NDEBUG
#define MIREL_DEBUG_ASSERT(cond) \
	do {                         \
		(void)sizeof(!(cond));   \
	} while(0)
#else
#define MIREL_DEBUG_ASSERT(cond) MIREL_ASSERT(cond)
#endif
