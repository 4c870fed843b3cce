#include "Dt2.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <sstream>
#include <utility>

// Draping is a member of the triangulation: its banners name its unit.
#define DT2_ASSERT(cond)                                                                      \
	do {                                                                                      \
		if(!(cond)) ::MIREL25D::assertionFailure(#cond, "dt2Library/Dt2", __LINE__, __PRETTY_FUNCTION__); \
	} while(0)

namespace MIREL25D {

namespace {

// For p and q on the line a->b: > 0 when p lies ahead of q, 0 at the same
// place. Along a line the order of one coordinate is exact.
int compareAlong(const Point2& a, const Point2& b, const Point2& p, const Point2& q)
{
	double pc(p.x()), qc(q.x()), dir(b.x() - a.x());
	if(a.x() == b.x())
	{
		pc = p.y();
		qc = q.y();
		dir = b.y() - a.y();
	}
	int s(pc > qc ? 1 : (pc < qc ? -1 : 0));
	return dir > 0.0 ? s : -s;
}

bool isFinitePoint(const Point2& p)
{
	return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

// Largest vertical distance of the inner points lo+1..hi-1 from the chord
// lo-hi, which runs along the same 2D line, and where it occurs.
std::pair<double, size_t> largestHeightDeviation(const std::vector<Point2>& v, size_t lo, size_t hi)
{
	const Point2& p(v[lo]);
	const Point2& q(v[hi]);
	double ux(q.x() - p.x()), uy(q.y() - p.y());
	double len2(ux * ux + uy * uy);
	std::pair<double, size_t> worst(-1.0, lo + 1);
	for(size_t k = lo + 1; k < hi; ++k)
	{
		double t(((v[k].x() - p.x()) * ux + (v[k].y() - p.y()) * uy) / len2);
		double dev(std::fabs(v[k].z() - (p.z() + t * (q.z() - p.z()))));
		if(dev > worst.first) worst = std::make_pair(dev, k);
	}
	return worst;
}

} // namespace

bool Dt2::drape(std::vector<Segment2>& vSegmentsIn, std::vector<Segment2>& vSegmentsOut, double zTolerance)
{
	if(!vertexVault.isFullDimensional())
	{
		sendWarning("Dt2::drape()", "the triangulation has no area yet, nothing draped");
		return false;
	}
	if(std::isnan(zTolerance))
	{
		sendWarning("Dt2::drape()", "zTolerance is NaN, nothing draped");
		return false;
	}
	bool bAllFinite(true);
	std::vector<Point2> vPoints;
	std::vector<std::pair<size_t, size_t>> vRanges;
	for(const Segment2& seg : vSegmentsIn)
	{
		Point2 a(seg.getSrc()), b(seg.getTrg());
		if(!isFinitePoint(a) || !isFinitePoint(b))
		{
			std::ostringstream ss;
			ss << "segment with non-finite coordinates skipped: " << seg;
			sendWarning("Dt2::drape()", ss.str());
			bAllFinite = false;
			continue;
		}
		if(!getDrapePoints(a, b, vPoints)) continue; // misses the triangulation
		DT2_ASSERT(!vPoints.empty());
		vPoints.erase(std::unique(vPoints.begin(), vPoints.end()), vPoints.end()); // equal x and y
		if(vPoints.size() < 2) continue;
		if(zTolerance < 0.0)
		{
			for(size_t k = 0; k + 1 < vPoints.size(); ++k) vSegmentsOut.push_back(Segment2(vPoints[k], vPoints[k + 1]));
			continue;
		}
		// Recursive halving on an explicit stack, right half pushed first so
		// that the segments come out in chain order.
		vRanges.assign(1, std::make_pair(size_t(0), vPoints.size() - 1));
		while(!vRanges.empty())
		{
			std::pair<size_t, size_t> range(vRanges.back());
			vRanges.pop_back();
			if(range.second - range.first >= 2)
			{
				std::pair<double, size_t> worst(largestHeightDeviation(vPoints, range.first, range.second));
				if(worst.first >= zTolerance)
				{
					vRanges.push_back(std::make_pair(worst.second, range.second));
					vRanges.push_back(std::make_pair(range.first, worst.second));
					continue;
				}
			}
			vSegmentsOut.push_back(Segment2(vPoints[range.first], vPoints[range.second]));
		}
	}
	return bAllFinite;
}

bool Dt2::getDrapePoints(const Point2& a, const Point2& b, std::vector<Point2>& vPoints)
{
	vPoints.clear();
	if(!vertexVault.isFullDimensional()) return false;
	double maxAbs(std::max(a.getMaxAbs(), b.getMaxAbs()));
	if(maxAbs > geomTest.getMaxCoord()) geomTest.setStaticBound_MT(maxAbs);
	Triangle2* pT(getHeightWalkStart(a));
	DT2_ASSERT(pT!=0);
	int exitEdge(-1);
	if(walkToQuery(a, pT, exitEdge))
	{
		pLastHeightT.store(pT, std::memory_order_relaxed);
		vPoints.push_back(Point2(a.x(), a.y(), getHeightInTriangle(pT, a.x(), a.y())));
		if(a == b) return true;
		walkAlongSegment(a, b, pT, -1, nullptr, true, vPoints);
		return true;
	}
	if(a == b) return false;
	Triangle2* pEntryT(nullptr);
	int entryEdge(-1);
	Point2* pEntryVtx(nullptr);
	if(!cutLineAtCH(a, b, pEntryT, entryEdge, pEntryVtx)) return false;
	if(pEntryVtx != nullptr)
	{
		vPoints.push_back(Point2(pEntryVtx->x(), pEntryVtx->y(), pEntryVtx->z()));
		walkAlongSegment(a, b, nullptr, -1, pEntryVtx, false, vPoints);
	}
	else
	{
		vPoints.push_back(getEdgeCrossing(a, b, pEntryT, entryEdge));
		walkAlongSegment(a, b, pEntryT, entryEdge, nullptr, false, vPoints);
	}
	return true;
}

Point2 Dt2::getEdgeCrossing(const Point2& a, const Point2& b, const Triangle2* pT, int i)
{
	const Point2& u1(*pT->getCorner(nextIndex(i)));
	const Point2& u2(*pT->getCorner(prevIndex(i)));
	double dx(b.x() - a.x()), dy(b.y() - a.y());
	double d1(dx * (u1.y() - a.y()) - dy * (u1.x() - a.x()));
	double d2(dx * (u2.y() - a.y()) - dy * (u2.x() - a.x()));
	double t;
	if((d1 > 0.0 && d2 < 0.0) || (d1 < 0.0 && d2 > 0.0)) t = d1 / (d1 - d2);
	else
	{
		// The doubles lost the sides that the exact test saw: the exact crossing
		// point, placed on the edge by projection.
		double x(0.0), y(0.0);
		geomTest.getIntersectionCoords_gmp_MT(a, b, u1, u2, x, y);
		double ex(u2.x() - u1.x()), ey(u2.y() - u1.y());
		t = ((x - u1.x()) * ex + (y - u1.y()) * ey) / (ex * ex + ey * ey);
	}
	t = std::min(std::max(t, 0.0), 1.0);
	// Interpolated from the nearer end, so that the ends are met exactly.
	double x, y, z;
	if(t <= 0.5)
	{
		x = u1.x() + t * (u2.x() - u1.x());
		y = u1.y() + t * (u2.y() - u1.y());
		z = u1.z() + t * (u2.z() - u1.z());
	}
	else
	{
		double s(1.0 - t);
		x = u2.x() + s * (u1.x() - u2.x());
		y = u2.y() + s * (u1.y() - u2.y());
		z = u2.z() + s * (u1.z() - u2.z());
	}
	z = std::min(std::max(z, std::min(u1.z(), u2.z())), std::max(u1.z(), u2.z()));
	return Point2(x, y, z);
}

// Three places along a->b: inside a triangle at the source (bStartInside), on
// an edge just crossed into pT through enterEdge, or at a vertex pVtx. Every
// decision is an exact orientation against the input line a->b; constructed
// crossing points are output only. The walk stops at b or where the segment
// leaves the hull.
void Dt2::walkAlongSegment(const Point2& a, const Point2& b, Triangle2* pT, int enterEdge, Point2* pVtx, bool bStartInside, std::vector<Point2>& vPoints)
{
	auto finishAtTarget = [&](const Triangle2* pInT) { vPoints.push_back(Point2(b.x(), b.y(), getHeightInTriangle(pInT, b.x(), b.y()))); };
	// Crosses edge i of pT; false at the hull.
	auto crossEdge = [&](int i, bool bEmit) {
		if(bEmit) vPoints.push_back(getEdgeCrossing(a, b, pT, i));
		Triangle2* pOppT(pT->getOppositeTriangle(i));
		if(pOppT == nullptr) return false;
		enterEdge = pOppT->getIntraTriangleIndex(pT);
		pT = pOppT;
		return true;
	};
	size_t maxSteps(3 * numberOfTriangles() + 10);
	if(bStartInside)
	{
		for(int k = 0; k < 3; ++k)
		{
			if(*pT->getCorner(k) == a) pVtx = pT->getCorner(k);
		}
		if(pVtx == nullptr)
		{
			Orientation2 o[3];
			for(int k = 0; k < 3; ++k) o[k] = geomTest.getOrientation2(&a, &b, pT->getCorner(k));
			int outICI(-1);
			for(int i = 0; i < 3; ++i)
			{
				if(o[nextIndex(i)] == ORIENTATION2_CW && o[prevIndex(i)] == ORIENTATION2_CCW) outICI = i;
			}
			if(outICI > -1)
			{
				if(geomTest.getOrientation2(pT, outICI, &b) != ORIENTATION2_CW) return finishAtTarget(pT);
				// A source on the exit edge itself is no new point.
				if(!crossEdge(outICI, geomTest.getOrientation2(pT, outICI, &a) != ORIENTATION2_COLLINEAR)) return;
			}
			else
			{
				// The line runs through a corner ahead of a.
				for(int k = 0; k < 3; ++k)
				{
					if(o[k] == ORIENTATION2_COLLINEAR && compareAlong(a, b, *pT->getCorner(k), a) > 0) pVtx = pT->getCorner(k);
				}
				DT2_ASSERT(pVtx!=0);
				if(compareAlong(a, b, b, *pVtx) <= 0) return finishAtTarget(pT);
				vPoints.push_back(*pVtx);
			}
		}
	}
	for(size_t numSteps = 0;; ++numSteps)
	{
		DT2_ASSERT(numSteps<=maxSteps);
		if(pVtx != nullptr)
		{
			if(*pVtx == b) return;
			// The triangle of the fan that the segment enters, or the edge it follows.
			TriangleAroundVertexIterator it(pVtx);
			Triangle2* pStartT(*it);
			Point2* pNextVtx(nullptr);
			Triangle2* pInteriorT(nullptr);
			Triangle2* pNextVtxT(nullptr);
			do
			{
				Triangle2* pFanT(*it);
				if(pFanT != nullptr)
				{
					int i(pFanT->getIntraTriangleIndex(pVtx));
					Point2* p(pFanT->getCorner(nextIndex(i)));
					Point2* q(pFanT->getCorner(prevIndex(i)));
					Orientation2 op(geomTest.getOrientation2(&a, &b, p));
					Orientation2 oq(geomTest.getOrientation2(&a, &b, q));
					if(op == ORIENTATION2_CW && oq == ORIENTATION2_CCW) pInteriorT = pFanT;
					else if(op == ORIENTATION2_COLLINEAR && compareAlong(a, b, *p, *pVtx) > 0) pNextVtx = p;
					else if(oq == ORIENTATION2_COLLINEAR && compareAlong(a, b, *q, *pVtx) > 0) pNextVtx = q;
					if(pNextVtx != nullptr) pNextVtxT = pFanT;
					if(pInteriorT != nullptr || pNextVtx != nullptr) break;
				}
				++it;
			} while(*it != pStartT);
			if(pNextVtx != nullptr)
			{
				if(compareAlong(a, b, b, *pNextVtx) <= 0) return finishAtTarget(pNextVtxT);
				vPoints.push_back(*pNextVtx);
				pVtx = pNextVtx;
				continue;
			}
			if(pInteriorT == nullptr) return; // the segment leaves the hull at this vertex
			pT = pInteriorT;
			int i(pT->getIntraTriangleIndex(pVtx));
			if(geomTest.getOrientation2(pT, i, &b) != ORIENTATION2_CW) return finishAtTarget(pT);
			pVtx = nullptr;
			if(!crossEdge(i, true)) return;
			continue;
		}
		// Entered pT through edge enterEdge: leave through the corner opposite
		// it or through the edge whose corners lie on both sides of the line.
		Point2* w(pT->getCorner(enterEdge));
		Orientation2 ow(geomTest.getOrientation2(&a, &b, w));
		if(ow == ORIENTATION2_COLLINEAR)
		{
			if(compareAlong(a, b, b, *w) <= 0) return finishAtTarget(pT);
			vPoints.push_back(*w);
			pVtx = w;
			continue;
		}
		int outICI(ow == ORIENTATION2_CCW ? nextIndex(enterEdge) : prevIndex(enterEdge));
		if(geomTest.getOrientation2(pT, outICI, &b) != ORIENTATION2_CW) return finishAtTarget(pT);
		if(!crossEdge(outICI, true)) return;
	}
}

} // namespace MIREL25D
