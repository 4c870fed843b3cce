#include "ConstraintMgr.h"
#include "ConstraintSegment2.h"
#include "Dt2.h"
#include "tools.h"
#include <cmath>
#include <cstdint>

namespace MIREL25D {

namespace {

// v moved by steps units in the last place (steps may be negative).
double moveUlps(double v, int steps)
{
	for(; steps > 0; --steps) v = std::nextafter(v, 1.7976931348623157e308);
	for(; steps < 0; ++steps) v = std::nextafter(v, -1.7976931348623157e308);
	return v;
}

} // namespace

Point2* Dt2::getOtherHullNeighbour(Triangle2* pT, int idx, bool bForward) const
{
	// Around the corner across its edges to the other hull edge; the fan of a
	// hull vertex is open, so it ends there.
	Point2* pCenter(pT->getCorner(idx));
	Triangle2* pCur(pT);
	for(size_t guard = 0; guard < numAllT + 1; ++guard)
	{
		int k(pCur->getIntraTriangleIndex(pCenter));
		int crossEdge(bForward ? nextIndex(k) : prevIndex(k));
		Triangle2* pNext(pCur->getOppositeTriangle(crossEdge));
		if(pNext == nullptr) return pCur->getCorner(bForward ? prevIndex(k) : nextIndex(k));
		pCur = pNext;
	}
	MIREL_ASSERT(false);
	return nullptr;
}

bool Dt2::isValidEdgeSplit(Triangle2* pT, int ith, const Point2& p)
{
	Point2* a(pT->getCorner(ith));
	Point2* b(pT->getCorner(nextIndex(ith)));
	Point2* c(pT->getCorner(prevIndex(ith)));
	if(geomTest.getOrientation2(a, b, &p) != ORIENTATION2_CCW) return false;
	if(geomTest.getOrientation2(a, &p, c) != ORIENTATION2_CCW) return false;
	Triangle2* pU(pT->getOppositeTriangle(ith));
	if(pU != nullptr)
	{
		Point2* d(pU->getCorner(pU->getIntraTriangleIndex(pT)));
		return geomTest.getOrientation2(d, c, &p) == ORIENTATION2_CCW && geomTest.getOrientation2(d, &p, b) == ORIENTATION2_CCW;
	}
	// A hull edge: p must not lie inside the mesh (the hull would turn reflex
	// at p), and the hull must stay convex at b and c.
	if(geomTest.getOrientation2(b, c, &p) == ORIENTATION2_CCW) return false;
	Point2* pBeforeB(getOtherHullNeighbour(pT, nextIndex(ith), true));
	Point2* pAfterC(getOtherHullNeighbour(pT, prevIndex(ith), false));
	return geomTest.getOrientation2(pBeforeB, b, &p) != ORIENTATION2_CW && geomTest.getOrientation2(&p, c, pAfterC) != ORIENTATION2_CW;
}

bool Dt2::findEdgeSplitPlace(Triangle2* pT, int ith, Point2& place)
{
	// p itself, else the nearest valid double within a few units in the last
	// place, nearer rings first.
	const Point2 p(place);
	if(isValidEdgeSplit(pT, ith, place)) return true;
	if(searchUlpRings(pT, ith, p, 4, place)) return true;
	// Near a corner where the triangle's wedge is narrow, and where the two
	// coordinates' units in the last place differ by orders of magnitude (x
	// near 5e5, y near 5e6), no double within a few units lies strictly
	// inside: move along the edge toward its middle, doubling the distance,
	// until the wedge is wide enough to hold one.
	const Point2* b(pT->getCorner(nextIndex(ith)));
	const Point2* c(pT->getCorner(prevIndex(ith)));
	const double mx(0.5 * (b->x() + c->x())), my(0.5 * (b->y() + c->y()));
	for(int halvings = 52; halvings >= 1; --halvings)
	{
		const double f(std::ldexp(1.0, -halvings));
		Point2 moved(p.x() + f * (mx - p.x()), p.y() + f * (my - p.y()), p.z());
		if(moved.x() == p.x() && moved.y() == p.y()) continue;
		place = moved;
		if(isValidEdgeSplit(pT, ith, place)) return true;
		if(searchUlpRings(pT, ith, moved, 1, place)) return true;
	}
	place = p;
	return false;
}

bool Dt2::searchUlpRings(Triangle2* pT, int ith, const Point2& centre, int numRings, Point2& place)
{
	for(int ring = 1; ring <= numRings; ++ring)
	{
		for(int dx = -ring; dx <= ring; ++dx)
		{
			for(int dy = -ring; dy <= ring; ++dy)
			{
				if(std::abs(dx) != ring && std::abs(dy) != ring) continue;
				place.setCoords(moveUlps(centre.x(), dx), moveUlps(centre.y(), dy), centre.z());
				if(isValidEdgeSplit(pT, ith, place)) return true;
			}
		}
	}
	return false;
}

Point2* Dt2::splitEdgeAt(Triangle2* pT, int ith, const Point2& p)
{
	MIREL_ASSERT(pT!=0 && pT->isAlive());
	MIREL_ASSERT(ith>=0 && ith<3);
	if(!std::isfinite(p.x()) || !std::isfinite(p.y()))
	{
		sendWarning("Dt2::splitEdgeAt()", "non-finite split point refused");
		return nullptr;
	}
	if(p.getMaxAbs() > geomTest.getMaxCoord()) geomTest.setStaticBound_MT(p.getMaxAbs());
	Point2 place(p);
	if(!findEdgeSplitPlace(pT, ith, place)) return nullptr;

	if(bbx.add(place))
	{
		// As in every insertion: the box doubles, the keys follow the new grid.
		bbx.doubleTheBox();
		hilbertGrid.setup(bbx.get_minX(), bbx.get_minY(), bbx.get_maxX(), bbx.get_maxY());
		vertexVault.rekey();
	}
	Point2* x(newVertex());
	x->set(place);
	vertexVault.addOne(x, hilbertGrid.getKey(place.x(), place.y()));

	Point2* a(pT->getCorner(ith));
	Point2* b(pT->getCorner(nextIndex(ith)));
	Point2* c(pT->getCorner(prevIndex(ith)));
	Triangle2* pAcrossCA(pT->getOppositeTriangle(nextIndex(ith)));
	Triangle2* pAcrossAB(pT->getOppositeTriangle(prevIndex(ith)));
	Triangle2* pU(pT->getOppositeTriangle(ith));
	Triangle2* pT2(newTriangle());
	if(pU == nullptr)
	{
		pT->setPropertiesAndOppT(a, b, x, nullptr, pT2, pAcrossAB);
		pT2->setPropertiesAndOppT(a, x, c, nullptr, pAcrossCA, pT);
	}
	else
	{
		// pU = (d, c, b) seen from its corner d.
		int j(pU->getIntraTriangleIndex(pT));
		Point2* d(pU->getCorner(j));
		Triangle2* pAcrossBD(pU->getOppositeTriangle(nextIndex(j)));
		Triangle2* pAcrossDC(pU->getOppositeTriangle(prevIndex(j)));
		Triangle2* pU2(newTriangle());
		pT->setPropertiesAndOppT(a, b, x, pU2, pT2, pAcrossAB);
		pT2->setPropertiesAndOppT(a, x, c, pU, pAcrossCA, pT);
		pU->setPropertiesAndOppT(d, c, x, pT2, pU2, pAcrossDC);
		pU2->setPropertiesAndOppT(d, x, b, pT, pAcrossBD, pU);
		if(pAcrossBD != nullptr) pAcrossBD->setOppTriangle(pAcrossBD->getIntraTriangleIndex(pU), pU2);
	}
	if(pAcrossCA != nullptr) pAcrossCA->setOppTriangle(pAcrossCA->getIntraTriangleIndex(pT), pT2);
	if(bConstraintsExist)
	{
		ConstraintSegment2* pCSeg(pConstraintMgr->getConstraintSegment(b, c));
		if(pCSeg != nullptr) pCSeg->split_combinatorialOnly(x);
	}
	return x;
}

} // namespace MIREL25D
