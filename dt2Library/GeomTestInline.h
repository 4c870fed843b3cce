#pragma once
// The filtered stages of the orientation and in-circle tests, inline for the
// library's innermost loops (walks, flips, removal). Internal: this header is
// not installed, and every unit that includes it is compiled without floating-
// point contraction, which the error bounds assume. Callers outside the library
// reach the same code through GeomTest's out-of-line members.
#include "GeomTest.h"
#include <cmath>

namespace MIREL25D {

inline Orientation2 filteredOrientation2(GeomTest& geomTest, const Point2* a, const Point2* b, const Point2* c)
{
	double det((a->x() - c->x()) * (b->y() - c->y()) - (a->y() - c->y()) * (b->x() - c->x()));
	if(det > geomTest.getStaticBound()) return ORIENTATION2_CCW;
	if(det < geomTest.getStaticBoundNeg()) return ORIENTATION2_CW;
	return geomTest.getOrientation2_exact(a, b, c);
}

// The double stage of the in-circle test alone: CINC2_ONCIRCLE where its error
// bound (or an underflow) leaves the sign open.
inline CircleIncidence2 doubleStageCircleInc3state(const Point2* a, const Point2* b, const Point2* c, const Point2* d)
{
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

inline CircleIncidence2 filteredCircleInc3state(GeomTest& geomTest, const Triangle2* t, const Point2* d)
{
	const Point2* a(t->getCorner(0));
	const Point2* b(t->getCorner(1));
	const Point2* c(t->getCorner(2));
	CircleIncidence2 answer(doubleStageCircleInc3state(a, b, c, d));
	if(answer != CINC2_ONCIRCLE) return answer;
	return geomTest.circleInc3state_exact(a, b, c, d);
}

// The triangulation's own predicate object: the same answers as GeomTest, with
// the filtered stages expanded at the call site.
class InlineGeomTest : public GeomTest
{
public:
	Orientation2 getOrientation2(const Point2* a, const Point2* b, const Point2* c) { return filteredOrientation2(*this, a, b, c); }
	Orientation2 getOrientation2(const Triangle2* t, int i, const Point2* q)
	{
		return filteredOrientation2(*this, t->getCorner(nextIndex(i)), t->getCorner(prevIndex(i)), q);
	}
	CircleIncidence2 circleInc3state(const Triangle2* t, const Point2* d) { return filteredCircleInc3state(*this, t, d); }
	// Quality meshing: the double stage alone, CINC2_ONCIRCLE where it cannot
	// decide. Only for searches that may look at a triangle too many; the mesh
	// itself is never changed on its answer.
	CircleIncidence2 circleInc3stateFiltered(const Triangle2* t, const Point2* d) const
	{
		return doubleStageCircleInc3state(t->getCorner(0), t->getCorner(1), t->getCorner(2), d);
	}
};

} // namespace MIREL25D
