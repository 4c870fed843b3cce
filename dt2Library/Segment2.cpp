#include "Segment2.h"
#include <iostream>
#include <utility>

namespace MIREL25D {

void Segment2::swapSrcTrg()
{
	Point2 tmp(src);
	src = trg;
	trg = tmp;
}

double Segment2::getSqLen2D() const
{
	return sqDistance2D(src, trg);
}

double Segment2::getSqLen25D() const
{
	return sqDistance25D(src, trg);
}

bool Segment2::operator==(const Segment2& other) const
{
	return (src == other.src && trg == other.trg) || (src == other.trg && trg == other.src);
}

std::ostream& operator<<(std::ostream& stream, const Segment2& seg)
{
	// The stored end points, not copies: their addresses identify them.
	stream << "Segment2 (" << static_cast<const void*>(&seg) << "): " << seg.src << "," << seg.trg;
	return stream;
}

bool Func_compareSegment::operator()(const Segment2* pSeg0, const Segment2* pSeg1) const
{
	Point2 src0(pSeg0->getSrc()), src1(pSeg1->getSrc());
	if(src0 < src1) return true;
	if(src1 < src0) return false;
	return pSeg0->getTrg() < pSeg1->getTrg();
}

} // namespace MIREL25D
