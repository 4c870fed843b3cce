#pragma once
// The process-wide message channel and the assertion banner. Every unit reports
// through these; nothing else in the library writes diagnostics.
#include "MirelExportMacro.h"
#include "MirelException.h"
#include <cstddef>
#include <string>

namespace MIREL25D {

// "\n      [Mirel2D-Message] <place>, WARNING: <text>\n\n" on standard output.
MIREL_API void sendWarning(const std::string& place, const std::string& text);
// The same with ", ERROR: ".
MIREL_API void sendError(const std::string& place, const std::string& text);

// Raw diagnostic text (already formatted, line ends included) on standard
// output or standard error, written whole under the channel's lock, so that
// lines from worker threads never interleave. Every unit writes its raw
// diagnostics through these two.
MIREL_API void sendRawText(const std::string& text);
MIREL_API void sendRawErrorText(const std::string& text);

// A loop cap was reached: an error naming the loop and its cap, on the
// channel; the caller's assertion follows with the banner.
MIREL_API void reportLoopCap(const std::string& place, const char* capName, size_t cap);

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

// The source file a banner cites. A unit split off from another defines
// MIREL_BANNER_FILE (before its first include) as the file it came from, so
// that its banners name the same unit as before.
#ifndef MIREL_BANNER_FILE
#define MIREL_BANNER_FILE __FILE__
#endif

// Checks of broken invariants, always on.
#define MIREL_ASSERT(cond)                                                                         \
	do {                                                                                           \
		if(!(cond)) ::MIREL25D::assertionFailure(#cond, MIREL_BANNER_FILE, __LINE__, MIREL_FUNCTION_SIGNATURE); \
	} while(0)

// A check whose banner position is published (logs and support notes cite
// "dt2Library/<unit>:<line>"): the banner keeps that unit and line wherever
// the check stands in the source.
#define MIREL_ASSERT_PINNED(cond, unitFile, pinnedLine)                                 \
	do {                                                                                \
		if(!(cond)) ::MIREL25D::assertionFailure(#cond, unitFile, pinnedLine, MIREL_FUNCTION_SIGNATURE); \
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
