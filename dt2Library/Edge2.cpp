#include "Edge2.h"
#include <cmath>
#include <functional>

namespace MIREL25D {

void Edge2::getTriangles(Triangle2*& pT0, Triangle2*& pT1, int& index0, int& index1) const
{
	pT0 = pT;
	index0 = index;
	pT1 = pT->getOppositeTriangle(index);
	index1 = (pT1 == nullptr) ? -1 : pT1->getIntraTriangleIndex(pT);
}

double Edge2::getLength2D() const
{
	return std::sqrt(sqDistance2D(*getSrc(), *getTrg()));
}

double Edge2::getLength25D() const
{
	return std::sqrt(sqDistance25D(*getSrc(), *getTrg()));
}

VertexPair2::VertexPair2(Point2* pA, Point2* pB) : p0(pA), p1(pB)
{
	// std::less gives a total order even on unrelated pointers.
	if(std::less<Point2*>()(pB, pA))
	{
		p0 = pB;
		p1 = pA;
	}
}

double VertexPair2::getSqLen2D() const
{
	return sqDistance2D(*p0, *p1);
}

double VertexPair2::getSqLen25D() const
{
	return sqDistance25D(*p0, *p1);
}

} // namespace MIREL25D
