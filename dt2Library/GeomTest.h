#pragma once
#include "MirelExportMacro.h"
#include "Point2.h"
#include "Triangle2.h"
#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>

namespace MIREL25D {

enum Orientation2
{
	ORIENTATION2_COLLINEAR = 0,
	ORIENTATION2_CCW = 1,
	ORIENTATION2_CW = 2
};

enum CircleIncidence2
{
	CINC2_ONCIRCLE = 1,
	CINC2_INCIRCLE = 2,
	CINC2_OUTCIRCLE = 3
};

enum SegmentIntersection2
{
	SEGINT2_NONE = 0,
	SEGINT2_COLLINEAR_OVERLAP = 1,
	SEGINT2_INTERSECTING = 2
};

MIREL_API const char* getString(Orientation2 ori);

// Orientation of p0, p1, p2 through one process-wide predicate object.
MIREL_API Orientation2 getOrientation2(const Point2* p0, const Point2* p1, const Point2* p2);
// The same answer through a private predicate object: shares nothing.
MIREL_API Orientation2 getOrientation2_mt(const Point2* p0, const Point2* p1, const Point2* p2);
// z at (x, y) on the plane through the three points, in exact arithmetic.
MIREL_API double getExactHeight(const Point2& p0, const Point2& p1, const Point2& p2, double x, double y);

struct ExactScratch;
struct IntersectionScratch;

// The exact predicates. Each test evaluates its determinant in doubles and
// trusts the sign when it clears an error bound; otherwise an out-of-line exact
// stage decides. The filtered stage takes no lock and allocates nothing; the
// bound only ever grows, so a concurrent reader sees the old or the new one.
//
// Orientation bound: for coordinates of magnitude at most M the rounding error
// of det = (ax-cx)(by-cy) - (ay-cy)(bx-cx) stays below 12*eps*M^2, eps = 2^-52
// (one rounding for each difference, each product and the subtraction); M is
// kept ten times larger than the largest coordinate reported, so that moderate
// growth needs no update.
//
// In-circle bound: relative, 3.33e-15 times the sum of the magnitudes of the
// terms, as for Shewchuk's first adaptive stage with three times the slack.
// A relative bound does not cover underflow: a product that falls below the
// normal range carries an absolute error of up to 2^-1075, which the lifted
// terms then multiply. So the determinant must also exceed 2^-1070 times the
// sum of the lifts, the cross-term magnitudes and one (several times the
// worst underflow error). That test is made on det * 2^1000: computing the tiny
// bound itself would be subnormal arithmetic, which is slow on most CPUs.
class MIREL_API GeomTest
{
public:
	GeomTest();
	~GeomTest();
	GeomTest(const GeomTest&) = delete;
	GeomTest& operator=(const GeomTest&) = delete;

	void setStaticBound_MT(double maxAbsCoord);
	void updateStaticBound(const Point2* a, const Point2* b, const Point2* c)
	{
		double m(std::max(std::max(a->getMaxAbs(), b->getMaxAbs()), c->getMaxAbs()));
		if(m > maxCoord.load(std::memory_order_relaxed)) setStaticBound_MT(m);
	}
	double getStaticBound() const { return staticBoundPos.load(std::memory_order_relaxed); }
	double getMaxCoord() const { return maxCoord.load(std::memory_order_relaxed); }

	Orientation2 getOrientation2(const Point2* a, const Point2* b, const Point2* c)
	{
		double det((a->x() - c->x()) * (b->y() - c->y()) - (a->y() - c->y()) * (b->x() - c->x()));
		if(det > staticBoundPos.load(std::memory_order_relaxed)) return ORIENTATION2_CCW;
		if(det < staticBoundNeg.load(std::memory_order_relaxed)) return ORIENTATION2_CW;
		return getOrientation2_exact(a, b, c);
	}
	// Side of q relative to edge i of t (corner i+1 to corner i+2).
	Orientation2 getOrientation2(const Triangle2* t, int i, const Point2* q)
	{
		return getOrientation2(t->getCorner(nextIndex(i)), t->getCorner(prevIndex(i)), q);
	}

	CircleIncidence2 circleInc3state(const Triangle2* t, const Point2* d)
	{
		const Point2* a(t->getCorner(0));
		const Point2* b(t->getCorner(1));
		const Point2* c(t->getCorner(2));
		double qaX(a->x() - d->x()), qaY(a->y() - d->y());
		double qbX(b->x() - d->x()), qbY(b->y() - d->y());
		double qcX(c->x() - d->x()), qcY(c->y() - d->y());
		double la(qaX * qaX + qaY * qaY), lb(qbX * qbX + qbY * qbY), lc(qcX * qcX + qcY * qcY);
		double p0(qcX * qaY), p1(qcY * qaX), p2(qcY * qbX), p3(qcX * qbY), p4(qbY * qaX), p5(qbX * qaY);
		double det((p0 - p1) * lb + (p2 - p3) * la + (p4 - p5) * lc);
		double sb(std::fabs(p1) + std::fabs(p0)), sa(std::fabs(p3) + std::fabs(p2)), sc(std::fabs(p5) + std::fabs(p4));
		double bound((sb * lb + sa * la + sc * lc) * 3.33e-15);
		double underflowScale(la + lb + lc + sa + sb + sc + 1.0);
		if(det > bound && det * 0x1p1000 > underflowScale * 0x1p-70) return CINC2_INCIRCLE;
		if(det < -bound && det * -0x1p1000 > underflowScale * 0x1p-70) return CINC2_OUTCIRCLE;
		return circleInc3state_exact(a, b, c, d);
	}
	// Quality meshing: the double stage alone, CINC2_ONCIRCLE where it cannot
	// decide. Only for searches that may look at a triangle too many; the
	// mesh itself is never changed on its answer.
	CircleIncidence2 circleInc3stateFiltered(const Triangle2* t, const Point2* d) const
	{
		const Point2* a(t->getCorner(0));
		const Point2* b(t->getCorner(1));
		const Point2* c(t->getCorner(2));
		double qaX(a->x() - d->x()), qaY(a->y() - d->y());
		double qbX(b->x() - d->x()), qbY(b->y() - d->y());
		double qcX(c->x() - d->x()), qcY(c->y() - d->y());
		double la(qaX * qaX + qaY * qaY), lb(qbX * qbX + qbY * qbY), lc(qcX * qcX + qcY * qcY);
		double p0(qcX * qaY), p1(qcY * qaX), p2(qcY * qbX), p3(qcX * qbY), p4(qbY * qaX), p5(qbX * qaY);
		double det((p0 - p1) * lb + (p2 - p3) * la + (p4 - p5) * lc);
		double sb(std::fabs(p1) + std::fabs(p0)), sa(std::fabs(p3) + std::fabs(p2)), sc(std::fabs(p5) + std::fabs(p4));
		double bound((sb * lb + sa * la + sc * lc) * 3.33e-15);
		double underflowScale(la + lb + lc + sa + sb + sc + 1.0);
		if(det > bound && det * 0x1p1000 > underflowScale * 0x1p-70) return CINC2_INCIRCLE;
		if(det < -bound && det * -0x1p1000 > underflowScale * 0x1p-70) return CINC2_OUTCIRCLE;
		return CINC2_ONCIRCLE;
	}

	SegmentIntersection2 getSegmentIntersection(const Point2* p1, const Point2* p2, const Point2* q1, const Point2* q2);
	Orientation2 getOrientation3D(const Point2* p1, const Point2* p2, const Point2* p3, const Point2* p4);
	void getIntersectionCoords_gmp_MT(const Point2& p1, const Point2& p2, const Point2& q1, const Point2& q2, double& x, double& y);

	// Out-of-line exact stages, reached when the filter cannot decide.
	Orientation2 getOrientation2_exact(const Point2* a, const Point2* b, const Point2* c);
	CircleIncidence2 circleInc3state_exact(const Point2* a, const Point2* b, const Point2* c, const Point2* d);

private:
	// Both exact stages use the scratch under different mutexes; the first one
	// to need it creates it, exactly once.
	void createExactScratch();

	std::atomic<double> staticBoundPos;
	std::atomic<double> staticBoundNeg;
	std::atomic<double> maxCoord;
	ExactScratch* pExactScratch; // 48 rationals, made on the first exact evaluation
	bool exactScratchReady;
	std::once_flag exactScratchOnce;
	IntersectionScratch* pIntersectionScratch; // 29 rationals, made on first use
	bool intersectionScratchReady;
	std::mutex boundMutex;
	std::mutex intersectionMutex;
	std::mutex orientationMutex;
	std::mutex incircleMutex;
};

} // namespace MIREL25D
