#pragma once
// An independent judge of a whole triangulation, shared by the unit tests and
// the fuzz harnesses: exact rational predicates (no library predicate) and a
// validator that names the first broken property. Free of any test framework.
#include "ConstraintSegment2.h"
#include "Dt2.h"
#include "Mirel_2D.h"
#include <gmpxx.h>
#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace meshcheck {
using namespace MIREL25D;

// 1: counterclockwise, -1: clockwise, 0: collinear.
inline int exactOrientation(const Point2& a, const Point2& b, const Point2& c)
{
	mpq_class ax(a.x()), ay(a.y()), bx(b.x()), by(b.y()), cx(c.x()), cy(c.y());
	return sgn(mpq_class((ax - cx) * (by - cy) - (ay - cy) * (bx - cx)));
}

// > 0: d strictly inside the circumcircle of the counterclockwise a, b, c.
inline int exactInCircle(const Point2& a, const Point2& b, const Point2& c, const Point2& d)
{
	mpq_class adx(mpq_class(a.x()) - d.x()), ady(mpq_class(a.y()) - d.y());
	mpq_class bdx(mpq_class(b.x()) - d.x()), bdy(mpq_class(b.y()) - d.y());
	mpq_class cdx(mpq_class(c.x()) - d.x()), cdy(mpq_class(c.y()) - d.y());
	mpq_class la(adx * adx + ady * ady), lb(bdx * bdx + bdy * bdy), lc(cdx * cdx + cdy * cdy);
	return sgn(mpq_class(adx * (bdy * lc - lb * cdy) - ady * (bdx * lc - lb * cdx) + la * (bdx * cdy - bdy * cdx)));
}

// Twice the signed area of a ring, exactly.
inline mpq_class ringArea2(const std::vector<Point2>& vRing)
{
	mpq_class sum(0);
	for(size_t i = 0; i < vRing.size(); ++i)
	{
		const Point2 &a(vRing[i]), &b(vRing[(i + 1) % vRing.size()]);
		sum += mpq_class(a.x()) * mpq_class(b.y()) - mpq_class(b.x()) * mpq_class(a.y());
	}
	return sum;
}

inline mpq_class triangleArea2(const Triangle2* pT)
{
	return ringArea2({*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2)});
}

// Differences that are zero or of magnitude in [1e-60, 1e60]: no product of
// up to four of them under- or overflows, so relative error bounds hold.
inline bool moderate(std::initializer_list<double> vDifferences)
{
	for(double d : vDifferences)
		if(d != 0.0 && !(std::fabs(d) >= 1e-60 && std::fabs(d) <= 1e60)) return false;
	return true;
}

// The exact signs with a double filter in front, for large meshes: a bound far
// above the rounding error decides, the rationals decide the rest.
inline int filteredOrientation(const Point2& a, const Point2& b, const Point2& c)
{
	double l((a.x() - c.x()) * (b.y() - c.y())), r((a.y() - c.y()) * (b.x() - c.x()));
	if(moderate({a.x() - c.x(), b.y() - c.y(), a.y() - c.y(), b.x() - c.x()}))
	{
		double det(l - r), bound(1e-12 * (std::fabs(l) + std::fabs(r)));
		if(det > bound) return 1;
		if(det < -bound) return -1;
	}
	return exactOrientation(a, b, c);
}

inline int filteredInCircle(const Point2& a, const Point2& b, const Point2& c, const Point2& d)
{
	double adx(a.x() - d.x()), ady(a.y() - d.y()), bdx(b.x() - d.x()), bdy(b.y() - d.y()), cdx(c.x() - d.x()), cdy(c.y() - d.y());
	double la(adx * adx + ady * ady), lb(bdx * bdx + bdy * bdy), lc(cdx * cdx + cdy * cdy);
	double det(la * (bdx * cdy - bdy * cdx) + lb * (cdx * ady - cdy * adx) + lc * (adx * bdy - ady * bdx));
	double perm(la * (std::fabs(bdx * cdy) + std::fabs(bdy * cdx)) + lb * (std::fabs(cdx * ady) + std::fabs(cdy * adx)) +
				lc * (std::fabs(adx * bdy) + std::fabs(ady * bdx)));
	if(moderate({adx, ady, bdx, bdy, cdx, cdy}))
	{
		if(det > 1e-12 * perm) return 1;
		if(det < -1e-12 * perm) return -1;
	}
	return exactInCircle(a, b, c, d);
}

// Hull places of a point set, collinear border points included (monotone chain).
inline size_t countHullPlaces(std::vector<Point2> vPoints)
{
	std::sort(vPoints.begin(), vPoints.end());
	vPoints.erase(std::unique(vPoints.begin(), vPoints.end()), vPoints.end());
	if(vPoints.size() < 3) return vPoints.size();
	std::vector<Point2> vHull;
	for(int pass = 0; pass < 2; ++pass)
	{
		size_t base(vHull.size());
		for(const Point2& p : vPoints)
		{
			while(vHull.size() >= base + 2 && filteredOrientation(vHull[vHull.size() - 2], vHull.back(), p) < 0) vHull.pop_back();
			vHull.push_back(p);
		}
		vHull.pop_back(); // the last point starts the other chain
		std::reverse(vPoints.begin(), vPoints.end());
	}
	return vHull.size();
}

enum class EmptyCircles
{
	ignored,          // topology only
	everyEdge,        // Delaunay
	exceptConstraints // constrained Delaunay: constraint pieces are exempt
};

// Counterclockwise triangles, mutual neighbour links over identical edges,
// valid incident triangles, 2n-2-h triangles and h border edges (h from an
// independent hull), the empty-circle property as asked, and every alive
// constraint piece an edge (unless bPiecesAreEdges is false: after the library
// warned that double precision made it give up a constraint), no two pieces on
// one edge. A mesh whose points all lie on one line has no triangle. Returns
// the first fault, or "".
inline std::string checkMesh(Dt2& dt, EmptyCircles emptyCircles = EmptyCircles::everyEdge, bool bPiecesAreEdges = true)
{
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	std::vector<Point2*> vVtx;
	dt.getVertexPointers(vVtx);
	if(vT.size() != dt.numberOfTriangles()) return "triangle count differs from numberOfTriangles()";
	std::vector<Point2> vPlaces;
	for(Point2* pVtx : vVtx) vPlaces.push_back(*pVtx);
	size_t n(std::set<Point2>(vPlaces.begin(), vPlaces.end()).size());
	if(n != vVtx.size()) return "two vertices at one place";
	size_t h(countHullPlaces(vPlaces));
	bool bFlat(true);
	for(size_t i = 2; i < n && bFlat; ++i) bFlat = filteredOrientation(vPlaces[0], vPlaces[1], vPlaces[i]) == 0;
	if(bFlat)
	{
		if(!vT.empty() || dt.hasArea()) return "collinear points with triangles";
		for(Point2* pVtx : vVtx)
			if(pVtx->getIncidentTriangle() != nullptr) return "collinear points with an incident triangle";
		return "";
	}
	if(!dt.hasArea()) return "hasArea() is false";
	if(vT.size() != 2 * n - 2 - h) return "not 2n-2-h triangles";

	std::set<std::pair<const Point2*, const Point2*>> sPieces; // as (smaller, larger) address
	std::vector<ConstraintSegment2*> vAlive;
	dt.getAliveConstraintSegments(vAlive);
	for(ConstraintSegment2* pCSeg : vAlive)
		if(!sPieces.insert(std::minmax<const Point2*>(pCSeg->getSrc(), pCSeg->getTrg())).second) return "two pieces on one edge";
	size_t numPieceEdges(0), numHullEdges(0);
	std::set<const Triangle2*> sLive(vT.begin(), vT.end());
	std::set<const Point2*> sCorners;
	for(Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i) sCorners.insert(pT->getCorner(i));
		if(filteredOrientation(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2)) != 1) return "a triangle not counterclockwise";
		for(int i = 0; i < 3; ++i)
		{
			bool bPiece(sPieces.count(std::minmax<const Point2*>(pT->getCorner(nextIndex(i)), pT->getCorner(prevIndex(i)))) > 0);
			Triangle2* pN(pT->getOppositeTriangle(i));
			numPieceEdges += bPiece ? (pN == nullptr ? 2 : 1) : 0;
			if(pN == nullptr)
			{
				++numHullEdges;
				continue;
			}
			if(sLive.count(pN) == 0) return "a neighbour that is no triangle of the mesh";
			int j(-1);
			for(int k = 0; k < 3; ++k)
				if(pN->getOppositeTriangle(k) == pT) j = k;
			if(j < 0) return "a neighbour does not point back";
			if(pN->getCorner(nextIndex(j)) != pT->getCorner(prevIndex(i)) || pN->getCorner(prevIndex(j)) != pT->getCorner(nextIndex(i)))
				return "neighbours over different edges";
			bool bChecked(emptyCircles == EmptyCircles::everyEdge || (emptyCircles == EmptyCircles::exceptConstraints && !bPiece));
			if(bChecked && filteredInCircle(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2), *pN->getCorner(j)) > 0) return "an edge not Delaunay";
		}
	}
	if(numHullEdges != h) return "border edges differ from the hull";
	if(bPiecesAreEdges && numPieceEdges != 2 * sPieces.size()) return "a constraint piece is no edge";
	if(sCorners.size() != vVtx.size()) return "a vertex is no corner";
	for(Point2* pVtx : vVtx)
	{
		Triangle2* pInc(pVtx->getIncidentTriangle());
		if(sCorners.count(pVtx) == 0 || sLive.count(pInc) == 0 || !pInc->hasVertex(pVtx)) return "a wrong incident triangle";
	}
	return "";
}

// The vertices are exactly the expected places, then checkMesh.
inline std::string checkPlacesAndMesh(Mirel_2D& dt, const std::vector<Point2>& vExpectedPlaces, EmptyCircles emptyCircles, bool bPiecesAreEdges = true)
{
	std::vector<Point2*> vVtx;
	dt.getVertexPointers(vVtx);
	if(vVtx.size() != dt.numberOfPoints()) return "vertex count differs from numberOfPoints()";
	std::set<Point2> sExpected(vExpectedPlaces.begin(), vExpectedPlaces.end()), sVtxPlaces;
	for(Point2* pVtx : vVtx) sVtxPlaces.insert(*pVtx);
	if(sVtxPlaces != sExpected) return "the vertices are not the input places";
	return checkMesh(*dt.getImpl(), emptyCircles, bPiecesAreEdges);
}

} // namespace meshcheck
