#pragma once
#include "MirelExportMacro.h"
#include "Point2.h"
#include <iosfwd>

namespace MIREL25D {

// A segment between two point values. The end points are copies: they keep
// their custom index but are never part of a triangulation.
class MIREL_API Segment2
{
public:
	Segment2() {}
	Segment2(const Point2& src_, const Point2& trg_) : src(src_), trg(trg_) {}

	Point2 getSrc() const { return src; }
	Point2 getTrg() const { return trg; }
	void swapSrcTrg();
	double getSqLen2D() const;
	// Reports a NaN result on standard error.
	double getSqLen25D() const;
	// Same end points in x and y, in either direction.
	bool operator==(const Segment2& other) const;

private:
	friend MIREL_API std::ostream& operator<<(std::ostream& stream, const Segment2& seg);
	Point2 src;
	Point2 trg;
};

MIREL_API std::ostream& operator<<(std::ostream& stream, const Segment2& seg);

// Lexicographic on (source, target), each by Point2::operator<.
struct MIREL_API Func_compareSegment
{
	bool operator()(const Segment2* pSeg0, const Segment2* pSeg1) const;
};

} // namespace MIREL25D
