// Split off from the triangulation's unit: banners name dt2Library/Dt2.
#define MIREL_BANNER_FILE "Dt2.cpp"
#include "Dt2.h"
#include "MeshSurgery.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <sstream>
#include <utility>
#include <vector>


namespace MIREL25D {

namespace {

// Triangles steeper than 89.9 degrees lose too much in the double formula; their
// heights come from the exact plane.
bool isAlmostVertical(double normalZ)
{
	double c(std::min(std::max(normalZ, 0.0), 1.0));
	return std::acos(c) * 180.0 / 3.14159265359 > 89.9;
}

// Hull edges are the null neighbours; edge e of a triangle runs from corner
// e+1 to corner e+2 with the mesh on its left. These step from one hull edge
// to the next (forward: the one starting where e ends) by rotating around the
// shared hull vertex.
void stepToNextHullEdge(Triangle2*& pT, int& e)
{
	Point2* pPivot(pT->getCorner(prevIndex(e)));
	MeshSurgery::rotateToFanEnd(pPivot, pT, true); // open fan: the pivot is on the hull
	e = prevIndex(pT->getIntraTriangleIndex(pPivot));
}

void stepToPrevHullEdge(Triangle2*& pT, int& e)
{
	Point2* pPivot(pT->getCorner(nextIndex(e)));
	MeshSurgery::rotateToFanEnd(pPivot, pT, false);
	e = nextIndex(pT->getIntraTriangleIndex(pPivot));
}

// Visits the hull edges that q sees (q right of or on their line), starting
// with the given one (which q sees strictly), first forward, then backward;
// stops early when visit returns true.
template<class Visit, class Sees>
void visitSeenHullEdges(Triangle2* pStartT, int startEdge, Sees sees, Visit visit)
{
	if(visit(pStartT, startEdge)) return;
	for(int direction = 0; direction < 2; ++direction)
	{
		Triangle2* pT(pStartT);
		int e(startEdge);
		for(;;)
		{
			if(direction == 0) stepToNextHullEdge(pT, e);
			else stepToPrevHullEdge(pT, e);
			if(pT == pStartT && e == startEdge) break;
			if(!sees(pT, e)) break;
			if(visit(pT, e)) return;
		}
	}
}

bool refuseNonFinite(const char* place, double x, double y)
{
	if(std::isfinite(x) && std::isfinite(y)) return false;
	std::ostringstream ss;
	ss << "non-finite query coordinates (" << x << ", " << y << "), returning false";
	sendWarning(place, ss.str());
	return true;
}

} // namespace

bool Dt2::getHeight(double x, double y, double& height, Triangle2* pApproxT, double tolerance)
{
	if(refuseNonFinite("Dt2::getHeight()", x, y)) return false;
	if(!vertexVault.isFullDimensional()) return false;
	Point2 q(x, y, 0.0);
	return getHeightFrom(q, (pApproxT != nullptr && pApproxT->isAlive()) ? pApproxT : getHeightWalkStart(q), height, tolerance);
}

bool Dt2::getHeightFrom(const Point2& q, Triangle2* pT, double& height, double tolerance)
{
	MIREL_ASSERT(pT!=0);
	int exitEdge(-1);
	bool bInside(walkToQuery(q, pT, exitEdge));
	pLastHeightT.store(pT, std::memory_order_relaxed);
	if(!bInside)
	{
		if(tolerance > 0.0) return getNearbyHeightFromExit(q, pT, exitEdge, height, tolerance);
		return false;
	}
	height = getHeightInTriangle(pT, q.x(), q.y());
	return true;
}

size_t Dt2::getHeights(std::vector<Point2>& vPoints, std::vector<bool>& vHasHeight, double tolerance)
{
	vHasHeight.assign(vPoints.size(), false);
	if(!vertexVault.isFullDimensional()) return 0;
	// The queries with their Hilbert keys, so that the sorted walk reads them in order.
	struct Query
	{
		uint32_t key;
		uint32_t pos;
		double x, y;
		bool operator<(const Query& other) const { return key < other.key; }
	};
	std::vector<Query> vOrder;
	vOrder.reserve(vPoints.size());
	size_t numNonFinite(0);
	double maxAbs(0.0);
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		const Point2& p(vPoints[i]);
		if(!std::isfinite(p.x()) || !std::isfinite(p.y()))
		{
			++numNonFinite;
			continue;
		}
		maxAbs = std::max(maxAbs, p.getMaxAbs());
		vOrder.push_back(Query{hilbertGrid.getKey(p.x(), p.y()), uint32_t(i), p.x(), p.y()});
	}
	if(numNonFinite > 0)
	{
		std::ostringstream ss;
		ss << numNonFinite << " points with non-finite coordinates got no height";
		sendWarning("Dt2::getHeights()", ss.str());
	}
	if(vOrder.empty()) return 0;
	// Widened once for the batch, so that no walk has to.
	if(maxAbs > geomTest.getMaxCoord()) geomTest.setStaticBound_MT(maxAbs);
	std::sort(vOrder.begin(), vOrder.end());
	Triangle2* pT(getHeightWalkStart(Point2(vOrder[0].x, vOrder[0].y, 0.0)));
	size_t numFound(0);
	for(const Query& query : vOrder)
	{
		double height(0.0);
		if(getHeightFrom(Point2(query.x, query.y, 0.0), pT, height, tolerance))
		{
			vPoints[query.pos].setZ(height);
			vHasHeight[query.pos] = true;
			++numFound;
		}
		pT = pLastHeightT.load(std::memory_order_relaxed);
	}
	return numFound;
}

bool Dt2::getNearbyHeight(double x, double y, double& height, double tolerance)
{
	if(refuseNonFinite("Dt2::getNearbyHeight()", x, y)) return false;
	if(!vertexVault.isFullDimensional()) return false;
	Point2 q(x, y, 0.0);
	Triangle2* pT(getHeightWalkStart(q));
	MIREL_ASSERT(pT!=0);
	int exitEdge(-1);
	bool bInside(walkToQuery(q, pT, exitEdge));
	pLastHeightT.store(pT, std::memory_order_relaxed);
	// On the surface the nearest point is the query itself.
	if(bInside)
	{
		height = getHeightInTriangle(pT, x, y);
		return true;
	}
	return getNearbyHeightFromExit(q, pT, exitEdge, height, tolerance);
}

Triangle2* Dt2::getHeightWalkStart(const Point2& q)
{
	Triangle2* pLast(pLastHeightT.load(std::memory_order_relaxed));
	if(pLast != nullptr && pLast->isAlive())
	{
		const Point2* c0(pLast->getCorner(0));
		const Point2* c1(pLast->getCorner(1));
		double ex(c1->x() - c0->x()), ey(c1->y() - c0->y());
		double qx(q.x() - c0->x()), qy(q.y() - c0->y());
		// Within a few triangle sizes the walk from the last triangle is the shortest.
		if(qx * qx + qy * qy <= 1024.0 * (ex * ex + ey * ey)) return pLast;
	}
	return vertexVault.getCloseTriangle(hilbertGrid.getKey(q.x(), q.y()));
}

bool Dt2::walkToQuery(const Point2& q, Triangle2*& pT, int& exitEdge)
{
	// A far query point needs the exact stages' range widened first.
	if(q.getMaxAbs() > geomTest.getMaxCoord()) geomTest.setStaticBound_MT(q.getMaxAbs());
	int e(-1);
	int r(locateConflictTriangle(&q, pT, e));
	exitEdge = -1;
	if(r < 0 || r > 2) return true;
	// Beyond hull edge r only if strictly right of it; on it q belongs to pT.
	if(geomTest.getOrientation2(pT, r, &q) != ORIENTATION2_CW) return true;
	exitEdge = r;
	return false;
}

double Dt2::getHeightInTriangle(const Triangle2* pT, double x, double y) const
{
	const Point2& p0(*pT->getCorner(0));
	const Point2& p1(*pT->getCorner(1));
	const Point2& p2(*pT->getCorner(2));
	if(p0.x() == x && p0.y() == y) return p0.z();
	if(p1.x() == x && p1.y() == y) return p1.z();
	if(p2.x() == x && p2.y() == y) return p2.z();
	double x0(p0.x()), y0(p0.y()), z0(p0.z());
	double minZ(std::min(z0, std::min(p1.z(), p2.z())));
	double maxZ(std::max(z0, std::max(p1.z(), p2.z())));
	if(minZ == maxZ) return minZ;

	double dx1(p1.x() - x0), dy1(p1.y() - y0), dz1(p1.z() - z0);
	double dx2(p2.x() - x0), dy2(p2.y() - y0), dz2(p2.z() - z0);
	// The plane's coefficients; (B, -A, D) is also its normal (p1 - p0) x (p2 - p0).
	double A(dz2 * dx1 - dz1 * dx2);
	double D(dy2 * dx1 - dy1 * dx2);
	double B(dy1 * dz2 - dy2 * dz1);
	double sqLen(B * B + A * A + D * D);
	// A unit normal with z above 0.01 is far from the limit (89.4 degrees);
	// that is seen without the root and the division.
	bool bSteep(false);
	if(!(D > 0.0 && D * D > 1e-4 * sqLen))
	{
		double len(std::sqrt(sqLen));
		bSteep = isAlmostVertical(len > 0.0 ? D / len : 0.0); // a zero normal stays zero
	}
	if(bSteep)
	{
		double height(getExactHeight(p0, p1, p2, x, y));
		MIREL_ASSERT(height<=maxZ+.0001);
		MIREL_ASSERT(height>=minZ-.0001);
		return height;
	}

	double height;
	if(D != 0.0) height = (y - y0) * (A / D) + z0 - (B / D) * (x - x0);
	else height = getExactHeight(p0, p1, p2, x, y);
	// Rounding may leave the plane value a little outside the corner heights.
	if(height > maxZ && height - maxZ < 0.001) height = maxZ;
	else if(height < minZ && minZ - height < 0.001) height = minZ;
	if(!(height >= minZ && height <= maxZ)) height = getExactHeight(p0, p1, p2, x, y);
	MIREL_ASSERT(height<=maxZ);
	MIREL_ASSERT(height>=minZ);
	return height;
}

// The nearest point of the hull lies on the chain of hull edges that q sees,
// which contains the edge where the walk left the mesh: the nearest point of
// that chain decides.
bool Dt2::getNearbyHeightFromExit(const Point2& q, Triangle2* pCurTriangle, int intState, double& height, double tolerance)
{
	MIREL_ASSERT(pCurTriangle!=0);
	MIREL_ASSERT(intState>-1 && intState<4);
	if(!(tolerance > 0.0)) return false;
	double bestSqDist(std::numeric_limits<double>::infinity());
	double bestHeight(0.0);
	auto consider = [&](Triangle2* pT, int e) {
		const Point2* a(pT->getCorner(nextIndex(e)));
		const Point2* b(pT->getCorner(prevIndex(e)));
		double ux(b->x() - a->x()), uy(b->y() - a->y());
		double wx(q.x() - a->x()), wy(q.y() - a->y());
		double len2(ux * ux + uy * uy);
		double t(len2 > 0.0 ? (wx * ux + wy * uy) / len2 : 0.0);
		t = std::min(std::max(t, 0.0), 1.0);
		double dx(wx - t * ux), dy(wy - t * uy);
		double sqDist(dx * dx + dy * dy);
		if(sqDist < bestSqDist)
		{
			bestSqDist = sqDist;
			double h(t == 0.0 ? a->z() : (t == 1.0 ? b->z() : a->z() + t * (b->z() - a->z())));
			bestHeight = std::min(std::max(h, std::min(a->z(), b->z())), std::max(a->z(), b->z()));
		}
		return false;
	};
	auto sees = [&](const Triangle2* pT, int e) { return geomTest.getOrientation2(pT, e, &q) != ORIENTATION2_CCW; };
	visitSeenHullEdges(pCurTriangle, intState, sees, consider);
	if(!(bestSqDist <= tolerance * tolerance)) return false;
	height = bestHeight;
	return true;
}

// The segment enters the convex mesh once. a is outside, so the entry edge is
// one that a sees strictly, and an entry vertex ends such an edge: the chain
// of seen hull edges around the walk's exit holds the entry.
bool Dt2::cutLineAtCH(const Point2& a, const Point2& b, Triangle2*& pEntryT, int& entryEdge, Point2*& pEntryVtx)
{
	pEntryT = nullptr;
	entryEdge = -1;
	pEntryVtx = nullptr;
	if(!vertexVault.isFullDimensional()) return false;
	double maxAbs(std::max(a.getMaxAbs(), b.getMaxAbs()));
	if(maxAbs > geomTest.getMaxCoord()) geomTest.setStaticBound_MT(maxAbs);
	Triangle2* pCurTriangle(getHeightWalkStart(a));
	MIREL_ASSERT(pCurTriangle!=0);
	int intState(-1);
	if(walkToQuery(a, pCurTriangle, intState)) return false; // a is not outside
	MIREL_ASSERT(intState>-1 && intState<3);
	MIREL_ASSERT(pCurTriangle->getOppositeTriangle(intState)==0);
	auto sees = [&](const Triangle2* pT, int e) { return geomTest.getOrientation2(pT, e, &a) != ORIENTATION2_CCW; };
	auto tryEntry = [&](Triangle2* pT, int e) {
		if(geomTest.getOrientation2(pT, e, &a) != ORIENTATION2_CW) return false;
		if(geomTest.getOrientation2(pT, e, &b) == ORIENTATION2_CW) return false; // b stays outside this edge
		Point2* u1(pT->getCorner(nextIndex(e)));
		Point2* u2(pT->getCorner(prevIndex(e)));
		Orientation2 o1(geomTest.getOrientation2(&a, &b, u1));
		Orientation2 o2(geomTest.getOrientation2(&a, &b, u2));
		if(o1 == ORIENTATION2_COLLINEAR) pEntryVtx = u1;
		else if(o2 == ORIENTATION2_COLLINEAR) pEntryVtx = u2;
		else if(o1 == ORIENTATION2_CCW && o2 == ORIENTATION2_CW)
		{
			pEntryT = pT;
			entryEdge = e;
		}
		return pEntryVtx != nullptr || pEntryT != nullptr;
	};
	visitSeenHullEdges(pCurTriangle, intState, sees, tryEntry);
	return pEntryVtx != nullptr || pEntryT != nullptr;
}

} // namespace MIREL25D
