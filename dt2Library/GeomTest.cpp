// Exact stages of the predicates and the exact constructions (intersection
// point, plane height). This unit is compiled with -frounding-math and
// -ffp-contract=off: the interval stage changes the rounding mode, and the
// double evaluations here must round every operation as IEEE 754 says.
#include "GeomTestInline.h"
#include "InputCheck.h"
#include "tools.h"
#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <gmp.h>

namespace MIREL25D {

// A fixed set of GMP rationals, initialised together and cleared together.
template<int N>
struct RationalSet
{
	RationalSet()
	{
		for(mpq_t& r : q) mpq_init(r);
	}
	~RationalSet()
	{
		for(mpq_t& r : q) mpq_clear(r);
	}
	RationalSet(const RationalSet&) = delete;
	RationalSet& operator=(const RationalSet&) = delete;
	mpq_t q[N];
};

// Slots 0-11 belong to the exact orientation, slots 12-47 to the exact
// in-circle test: the two run under different mutexes and never share a slot.
struct ExactScratch : RationalSet<48>
{};
struct IntersectionScratch : RationalSet<29>
{};

namespace {

const int ORIENTATION_BASE(0);
const int INCIRCLE_BASE(12);

// Hides a value from the optimiser. Under a changed rounding mode the compiler
// must neither move arithmetic across fesetround/fesetenv nor rewrite -(-a*b)
// into a*b; passing operands and results through an opaque barrier with a
// memory clobber pins both the order and the exact operations.
inline double opaque(double value)
{
#if defined(__GNUC__)
	asm volatile("" : "+m"(value) : : "memory");
	return value;
#else
	volatile double v(value);
	return v;
#endif
}

// Switches the calling thread to rounding toward +infinity and restores the
// caller's rounding mode on every way out. Only the rounding mode is saved:
// it is the one part of the control word that changes here, and saving the
// whole environment (fegetenv/fesetenv) costs about 70 ns per call on x86-64,
// which gridded input pays on every collinear triple.
class UpwardRoundingScope
{
public:
	UpwardRoundingScope() : savedMode(fegetround()) { fesetround(FE_UPWARD); }
	~UpwardRoundingScope() { fesetround(savedMode); }
	UpwardRoundingScope(const UpwardRoundingScope&) = delete;
	UpwardRoundingScope& operator=(const UpwardRoundingScope&) = delete;

private:
	int savedMode;
};

// An enclosure [lo, hi] of a real number.
struct Interval
{
	double lo;
	double hi;
};

// All helpers below run under upward rounding. A lower bound is obtained as
// the negated upper bound of the negated value.

// Enclosure of |x - y| for doubles x, y, together with the exact sign of x - y.
inline Interval differenceMagnitude(double x, double y, int& sign)
{
	if(x > y)
	{
		sign = 1;
		return Interval{-opaque(y - x), opaque(x - y)};
	}
	sign = (x < y) ? -1 : 0;
	return Interval{-opaque(x - y), opaque(y - x)};
}

// Enclosure of (x0 - y0) * (x1 - y1). The sign of the product is known exactly,
// so it suffices to bound its magnitude from both sides.
inline Interval productOfDifferences(double x0, double y0, double x1, double y1)
{
	int sign0, sign1;
	Interval m0(differenceMagnitude(x0, y0, sign0));
	Interval m1(differenceMagnitude(x1, y1, sign1));
	double magHi(opaque(m0.hi * m1.hi));
	double magLo(-opaque(opaque(-m0.lo) * m1.lo));
	int sign(sign0 * sign1);
	if(sign > 0) return Interval{magLo, magHi};
	if(sign < 0) return Interval{-magHi, -magLo};
	return Interval{0.0, 0.0};
}

// Interval stage of the exact orientation: encloses
// det = (ax-cx)(by-cy) - (ay-cy)(bx-cx) with directed rounding. Returns the
// decided orientation, or -1 when the enclosure contains zero and is wider than
// a single point.
int orientationByIntervals(double ax, double ay, double bx, double by, double cx, double cy)
{
	double upperDet, upperNegDet;
	{
		UpwardRoundingScope upward;
		ax = opaque(ax);
		ay = opaque(ay);
		bx = opaque(bx);
		by = opaque(by);
		cx = opaque(cx);
		cy = opaque(cy);
		Interval p1(productOfDifferences(ax, cx, by, cy));
		Interval p2(productOfDifferences(ay, cy, bx, cx));
		upperDet = opaque(p1.hi - p2.lo);
		upperNegDet = opaque(p2.hi - p1.lo);
	}
	if(upperDet < 0) return ORIENTATION2_CW;
	if(upperNegDet < 0) return ORIENTATION2_CCW;
	// An enclosure of width zero is the exact value.
	if(upperDet == 0 && upperNegDet == 0) return ORIENTATION2_COLLINEAR;
	return -1;
}

bool hasEvenSignificand(double d)
{
	std::uint64_t bits;
	std::memcpy(&bits, &d, sizeof(bits));
	return (bits & 1u) == 0;
}

// The double nearest to q (ties to even). GMP's own conversion truncates, which
// would throw away up to one unit in the last place of a constructed point.
// tmp0 and tmp1 are scratch rationals that the caller no longer needs.
double toNearestDouble(mpq_srcptr q, mpq_ptr tmp0, mpq_ptr tmp1)
{
	double truncated(mpq_get_d(q));
	mpq_set_d(tmp0, truncated);
	int sgn(mpq_sgn(q));
	if(sgn == 0 || mpq_equal(q, tmp0)) return truncated;
	// q lies strictly between the truncated value and its neighbour away from zero.
	double awayFromZero(std::nextafter(truncated, sgn > 0 ? std::numeric_limits<double>::infinity() : -std::numeric_limits<double>::infinity()));
	if(std::isinf(awayFromZero)) return truncated;
	mpq_set_d(tmp1, awayFromZero);
	mpq_add(tmp0, tmp0, tmp1);
	mpq_div_2exp(tmp0, tmp0, 1); // midpoint of the two candidates
	int cmp(mpq_cmp(q, tmp0) * sgn); // > 0: beyond the midpoint, away from zero
	if(cmp > 0) return awayFromZero;
	if(cmp < 0) return truncated;
	return hasEvenSignificand(truncated) ? truncated : awayFromZero;
}

// The coordinate-magnitude factor of the orientation error bound: the number of
// products and differences that can contribute, as a power of two.
double errorPowerOfTwo(double terms)
{
	return std::pow(2.0, std::ceil(std::log(terms) / std::log(2.0)));
}

} // namespace

GeomTest::GeomTest()
	: staticBoundPos(0.0),
	  staticBoundNeg(0.0),
	  maxCoord(0.0),
	  pExactScratch(nullptr),
	  exactScratchReady(false),
	  pIntersectionScratch(nullptr),
	  intersectionScratchReady(false)
{}

GeomTest::~GeomTest()
{
	if(exactScratchReady) delete pExactScratch;
	if(intersectionScratchReady) delete pIntersectionScratch;
}

void GeomTest::setStaticBound_MT(double maxAbsCoord)
{
	{
		// Checked before the comparison with the stored value, which is never
		// negative and would otherwise swallow a negative argument silently.
		const double maxCoord(maxAbsCoord);
		MIREL_ASSERT(maxCoord>=0);
	}
	std::lock_guard<std::mutex> lock(boundMutex);
	if(maxCoord.load(std::memory_order_relaxed) > maxAbsCoord) return;

	// Ten times the reported range: later points up to ten times larger need no update.
	double m(maxAbsCoord);
	double tenTimes(10.0 * m);
	if(tenTimes > m && tenTimes < std::numeric_limits<double>::max()) m = tenTimes;

	// Differences, products and the final subtraction each add one rounding.
	const double eps(std::numeric_limits<double>::epsilon());
	double e1(eps * errorPowerOfTwo(2.0));
	double e2(eps * errorPowerOfTwo(4.0) * 0.5 + e1);
	double e3(eps * errorPowerOfTwo(8.0) * 0.5 + 2.0 * e2); // 12 eps
	double bound(e3 * m * m);
	// The two products may underflow, each with an absolute error of up to
	// 2^-1075 that no relative bound covers; this matters only for tiny ranges.
	if(m > 0) bound += 0x1p-1070;

	staticBoundPos.store(bound, std::memory_order_relaxed);
	staticBoundNeg.store(-bound, std::memory_order_relaxed);
	maxCoord.store(m, std::memory_order_relaxed);
}

void GeomTest::createExactScratch()
{
	std::call_once(exactScratchOnce, [this] {
		pExactScratch = new ExactScratch;
		exactScratchReady = true;
	});
}

Orientation2 GeomTest::getOrientation2(const Point2* a, const Point2* b, const Point2* c)
{
	return filteredOrientation2(*this, a, b, c);
}

Orientation2 GeomTest::getOrientation2(const Triangle2* t, int i, const Point2* q)
{
	return filteredOrientation2(*this, t->getCorner(nextIndex(i)), t->getCorner(prevIndex(i)), q);
}

CircleIncidence2 GeomTest::circleInc3state(const Triangle2* t, const Point2* d)
{
	return filteredCircleInc3state(*this, t, d);
}

Orientation2 GeomTest::getOrientation2_exact(const Point2* a, const Point2* b, const Point2* c)
{
	if((a->x() == b->x() && b->x() == c->x()) || (a->y() == b->y() && b->y() == c->y())) return ORIENTATION2_COLLINEAR;

	int decided(orientationByIntervals(a->x(), a->y(), b->x(), b->y(), c->x(), c->y()));
	if(decided >= 0) return Orientation2(decided);

	std::lock_guard<std::mutex> lock(orientationMutex);
	createExactScratch();
	mpq_t* q(pExactScratch->q + ORIENTATION_BASE);
	mpq_set_d(q[0], a->x());
	mpq_set_d(q[1], a->y());
	mpq_set_d(q[2], b->x());
	mpq_set_d(q[3], b->y());
	mpq_set_d(q[4], c->x());
	mpq_set_d(q[5], c->y());
	mpq_sub(q[6], q[0], q[4]); // a.x - c.x
	mpq_sub(q[7], q[3], q[5]); // b.y - c.y
	mpq_sub(q[8], q[1], q[5]); // a.y - c.y
	mpq_sub(q[9], q[2], q[4]); // b.x - c.x
	mpq_mul(q[10], q[6], q[7]);
	mpq_mul(q[11], q[8], q[9]);
	int cmp(mpq_cmp(q[10], q[11]));
	if(cmp > 0) return ORIENTATION2_CCW;
	if(cmp < 0) return ORIENTATION2_CW;
	return ORIENTATION2_COLLINEAR;
}

namespace {
// d completes an axis-parallel rectangle with a, b, c: then all four lie on one
// circle. Gridded data produces this case constantly.
bool completesAxisParallelRectangle(const Point2* a, const Point2* b, const Point2* c, const Point2* d)
{
	const Point2* corners[3] = {a, b, c};
	int numSameX(0), numSameY(0);
	double otherX[3], otherY[3];
	int numOtherX(0), numOtherY(0);
	for(const Point2* p : corners)
	{
		if(p->x() == d->x())
			++numSameX;
		else
			otherX[numOtherX++] = p->x();
		if(p->y() == d->y())
			++numSameY;
		else
			otherY[numOtherY++] = p->y();
	}
	return numSameX == 1 && numSameY == 1 && otherX[0] == otherX[1] && otherY[0] == otherY[1];
}

// Differences below 2^14 units keep the in-circle determinant within 64-bit
// integers: the squared lengths and the cross terms stay below 2^29, each
// product below 2^58 and the sum of three below 2^60.
const int SMALL_DIFFERENCE_BITS(14);

// diff = a - b, and whether the subtraction was exact: the roundoff of the
// two-difference (Knuth) is zero exactly when no bit was lost.
bool subtractExactly(double a, double b, double& diff)
{
	diff = a - b;
	double bVirtual(a - diff);
	double aVirtual(diff + bVirtual);
	return (a - aVirtual) + (bVirtual - b) == 0.0;
}

// The in-circle determinant of exact differences that are small integers in
// one common power-of-two unit (ties on grids and other regular data), in
// 64-bit integers: its sign is that of the rational determinant, since the
// unit enters as a positive factor. False where the differences are not such
// integers; the rational stage decides then.
bool smallIntegerInCircleSign(const Point2* a, const Point2* b, const Point2* c, const Point2* d, int& sign)
{
	double q[6];
	if(!subtractExactly(a->x(), d->x(), q[0]) || !subtractExactly(a->y(), d->y(), q[1]) || !subtractExactly(b->x(), d->x(), q[2])
	   || !subtractExactly(b->y(), d->y(), q[3]) || !subtractExactly(c->x(), d->x(), q[4]) || !subtractExactly(c->y(), d->y(), q[5]))
	{
		return false;
	}
	double maxAbs(0.0);
	for(double v : q) maxAbs = std::max(maxAbs, std::fabs(v));
	if(!(maxAbs > 0.0)) return false;
	int exponent(0);
	std::frexp(maxAbs, &exponent); // maxAbs < 2^exponent
	int shift(SMALL_DIFFERENCE_BITS - exponent);
	if(shift < -1000 || shift > 1000) return false; // both scales must be normal doubles
	double scale(std::ldexp(1.0, shift)), unscale(std::ldexp(1.0, -shift));
	int64_t n[6];
	for(int i = 0; i < 6; ++i)
	{
		// Scaling by a power of two is exact unless bits fall below the
		// subnormal range; the way back proves that none did.
		double scaled(q[i] * scale);
		if(scaled != std::trunc(scaled) || scaled * unscale != q[i]) return false;
		n[i] = static_cast<int64_t>(scaled);
	}
	int64_t la(n[0] * n[0] + n[1] * n[1]), lb(n[2] * n[2] + n[3] * n[3]), lc(n[4] * n[4] + n[5] * n[5]);
	int64_t crossBC(n[2] * n[5] - n[4] * n[3]), crossCA(n[4] * n[1] - n[0] * n[5]), crossAB(n[0] * n[3] - n[2] * n[1]);
	int64_t det(la * crossBC + lb * crossCA + lc * crossAB);
	sign = (det > 0) - (det < 0);
	return true;
}
} // namespace

CircleIncidence2 GeomTest::circleInc3state_exact(const Point2* a, const Point2* b, const Point2* c, const Point2* d)
{
	if(completesAxisParallelRectangle(a, b, c, d)) return CINC2_ONCIRCLE;
	int smallSign(0);
	if(smallIntegerInCircleSign(a, b, c, d, smallSign)) return smallSign > 0 ? CINC2_INCIRCLE : (smallSign < 0 ? CINC2_OUTCIRCLE : CINC2_ONCIRCLE);

	std::lock_guard<std::mutex> lock(incircleMutex);
	createExactScratch();
	mpq_t* q(pExactScratch->q + INCIRCLE_BASE);
	mpq_ptr ax(q[0]), ay(q[1]), bx(q[2]), by(q[3]), cx(q[4]), cy(q[5]), dx(q[6]), dy(q[7]);
	mpq_ptr qax(q[8]), qay(q[9]), qbx(q[10]), qby(q[11]), qcx(q[12]), qcy(q[13]);
	mpq_ptr sq0(q[14]), sq1(q[15]), sq2(q[16]), sq3(q[17]), sq4(q[18]), sq5(q[19]);
	mpq_ptr la(q[20]), lb(q[21]), lc(q[22]);
	mpq_ptr pr0(q[23]), pr1(q[24]), pr2(q[25]), pr3(q[26]), pr4(q[27]), pr5(q[28]);
	mpq_ptr crossBC(q[29]), crossCA(q[30]), crossAB(q[31]);
	mpq_ptr termA(q[32]), termB(q[33]), termC(q[34]), det(q[35]);

	mpq_set_d(ax, a->x());
	mpq_set_d(ay, a->y());
	mpq_set_d(bx, b->x());
	mpq_set_d(by, b->y());
	mpq_set_d(cx, c->x());
	mpq_set_d(cy, c->y());
	mpq_set_d(dx, d->x());
	mpq_set_d(dy, d->y());
	mpq_sub(qax, ax, dx);
	mpq_sub(qay, ay, dy);
	mpq_sub(qbx, bx, dx);
	mpq_sub(qby, by, dy);
	mpq_sub(qcx, cx, dx);
	mpq_sub(qcy, cy, dy);
	mpq_mul(sq0, qax, qax);
	mpq_mul(sq1, qay, qay);
	mpq_mul(sq2, qbx, qbx);
	mpq_mul(sq3, qby, qby);
	mpq_mul(sq4, qcx, qcx);
	mpq_mul(sq5, qcy, qcy);
	mpq_add(la, sq0, sq1);
	mpq_add(lb, sq2, sq3);
	mpq_add(lc, sq4, sq5);
	mpq_mul(pr0, qbx, qcy);
	mpq_mul(pr1, qcx, qby);
	mpq_sub(crossBC, pr0, pr1);
	mpq_mul(pr2, qcx, qay);
	mpq_mul(pr3, qax, qcy);
	mpq_sub(crossCA, pr2, pr3);
	mpq_mul(pr4, qax, qby);
	mpq_mul(pr5, qbx, qay);
	mpq_sub(crossAB, pr4, pr5);
	mpq_mul(termA, la, crossBC);
	mpq_mul(termB, lb, crossCA);
	mpq_mul(termC, lc, crossAB);
	mpq_add(det, termA, termB);
	mpq_add(det, det, termC);
	int sgn(mpq_sgn(det));
	if(sgn > 0) return CINC2_INCIRCLE;
	if(sgn < 0) return CINC2_OUTCIRCLE;
	return CINC2_ONCIRCLE;
}

SegmentIntersection2 GeomTest::getSegmentIntersection(const Point2* p1, const Point2* p2, const Point2* q1, const Point2* q2)
{
	Orientation2 o1(getOrientation2(p1, p2, q1));
	Orientation2 o2(getOrientation2(p1, p2, q2));
	if(o1 != ORIENTATION2_COLLINEAR && o1 == o2) return SEGINT2_NONE;
	if(o1 == ORIENTATION2_COLLINEAR && o2 == ORIENTATION2_COLLINEAR)
	{
		// Both lie on one line: one segment contains an end of the other exactly
		// when its squared length reaches the distances from that end to both of
		// its own ends.
		double lenP(sqDistance2D(*p1, *p2)), lenQ(sqDistance2D(*q1, *q2));
		double p1q1(sqDistance2D(*p1, *q1)), p2q1(sqDistance2D(*p2, *q1));
		double p1q2(sqDistance2D(*p1, *q2)), p2q2(sqDistance2D(*p2, *q2));
		bool overlap((lenP >= p1q1 && lenP >= p2q1) || (lenP >= p1q2 && lenP >= p2q2) || (lenQ >= p1q1 && lenQ >= p1q2) ||
			(lenQ >= p2q1 && lenQ >= p2q2));
		return overlap ? SEGINT2_COLLINEAR_OVERLAP : SEGINT2_NONE;
	}
	Orientation2 o3(getOrientation2(q1, q2, p1));
	Orientation2 o4(getOrientation2(q1, q2, p2));
	return o3 != o4 ? SEGINT2_INTERSECTING : SEGINT2_NONE;
}

Orientation2 GeomTest::getOrientation3D(const Point2* p1, const Point2* p2, const Point2* p3, const Point2* p4)
{
	double ux(p1->x() - p4->x()), uy(p1->y() - p4->y()), uz(p1->z() - p4->z());
	double vx(p2->x() - p4->x()), vy(p2->y() - p4->y()), vz(p2->z() - p4->z());
	double wx(p3->x() - p4->x()), wy(p3->y() - p4->y()), wz(p3->z() - p4->z());
	double det(ux * (vy * wz - wy * vz) + vx * (wy * uz - uy * wz) + wx * (uy * vz - vy * uz));
	if(det > 0) return ORIENTATION2_CCW;
	if(det < 0) return ORIENTATION2_CW;
	return ORIENTATION2_COLLINEAR;
}

void GeomTest::getIntersectionCoords_gmp_MT(const Point2& p1, const Point2& p2, const Point2& q1, const Point2& q2, double& x, double& y)
{
	std::lock_guard<std::mutex> lock(intersectionMutex);
	if(!intersectionScratchReady)
	{
		pIntersectionScratch = new IntersectionScratch;
		intersectionScratchReady = true;
	}
	mpq_t* q(pIntersectionScratch->q);
	mpq_ptr p1x(q[0]), p1y(q[1]), p2x(q[2]), p2y(q[3]), q1x(q[4]), q1y(q[5]), q2x(q[6]), q2y(q[7]);
	mpq_ptr c1a(q[8]), c1b(q[9]), c1(q[10]), c2a(q[11]), c2b(q[12]), c2(q[13]);
	mpq_ptr dqx(q[14]), dpx(q[15]), dqy(q[16]), dpy(q[17]);
	mpq_ptr nxa(q[18]), nxb(q[19]), numX(q[20]), nya(q[21]), nyb(q[22]), numY(q[23]);
	mpq_ptr dna(q[24]), dnb(q[25]), denom(q[26]), resX(q[27]), resY(q[28]);

	mpq_set_d(p1x, p1.x());
	mpq_set_d(p1y, p1.y());
	mpq_set_d(p2x, p2.x());
	mpq_set_d(p2y, p2.y());
	mpq_set_d(q1x, q1.x());
	mpq_set_d(q1y, q1.y());
	mpq_set_d(q2x, q2.x());
	mpq_set_d(q2y, q2.y());

	// Each line as the cross product of its two points (homogeneous form).
	mpq_mul(c1a, p1x, p2y);
	mpq_mul(c1b, p1y, p2x);
	mpq_sub(c1, c1a, c1b);
	mpq_mul(c2a, q1x, q2y);
	mpq_mul(c2b, q1y, q2x);
	mpq_sub(c2, c2a, c2b);

	mpq_sub(dqx, q1x, q2x);
	mpq_sub(dpx, p1x, p2x);
	mpq_sub(dqy, q1y, q2y);
	mpq_sub(dpy, p1y, p2y);

	mpq_mul(nxa, c1, dqx);
	mpq_mul(nxb, dpx, c2);
	mpq_sub(numX, nxa, nxb);
	mpq_mul(nya, c1, dqy);
	mpq_mul(nyb, dpy, c2);
	mpq_sub(numY, nya, nyb);
	mpq_mul(dna, dpx, dqy);
	mpq_mul(dnb, dpy, dqx);
	mpq_sub(denom, dna, dnb);

	if(mpq_sgn(denom) == 0)
	{
		sendError("GeomTest::getIntersectionCoords()", "denom=0 -> parallel segments");
		MIREL_ASSERT(false);
	}
	mpq_div(resX, numX, denom);
	mpq_div(resY, numY, denom);
	// The input coordinates are dead now and serve as rounding scratch.
	x = toNearestDouble(resX, p1x, p1y);
	y = toNearestDouble(resY, p2x, p2y);
}

const char* getString(Orientation2 ori)
{
	switch(ori)
	{
		case ORIENTATION2_COLLINEAR: return "ORIENTATION2_COLLINEAR";
		case ORIENTATION2_CCW: return "ORIENTATION2_CCW";
		case ORIENTATION2_CW: return "ORIENTATION2_CW";
	}
	return "UNKNOWN";
}

namespace {
// Created on the first call (thread-safe static initialisation), destroyed at exit.
GeomTest& processWideGeomTest()
{
	static GeomTest geomTest;
	return geomTest;
}
} // namespace

namespace {
// The exact stages take finite doubles only: callers of the exported
// predicates get a warning and a collinear answer for anything else.
bool acceptPredicateInput(const char* place, const Point2* p0, const Point2* p1, const Point2* p2)
{
	InputCheck check(place, "point", InputCheck::FINITE);
	bool bAccepted(check.accept(*p0));
	bAccepted = check.accept(*p1) && bAccepted;
	bAccepted = check.accept(*p2) && bAccepted;
	check.report(3);
	return bAccepted;
}
} // namespace

Orientation2 getOrientation2(const Point2* p0, const Point2* p1, const Point2* p2)
{
	MIREL_ASSERT(p0!=0);
	MIREL_ASSERT(p1!=0);
	MIREL_ASSERT(p2!=0);
	if(!acceptPredicateInput("getOrientation2()", p0, p1, p2)) return ORIENTATION2_COLLINEAR;
	GeomTest& geomTest(processWideGeomTest());
	geomTest.updateStaticBound(p0, p1, p2);
	return geomTest.getOrientation2(p0, p1, p2);
}

Orientation2 getOrientation2_mt(const Point2* p0, const Point2* p1, const Point2* p2)
{
	MIREL_ASSERT(p0!=0);
	MIREL_ASSERT(p1!=0);
	MIREL_ASSERT(p2!=0);
	if(!acceptPredicateInput("getOrientation2_mt()", p0, p1, p2)) return ORIENTATION2_COLLINEAR;
	GeomTest geomTest;
	geomTest.updateStaticBound(p0, p1, p2);
	return geomTest.getOrientation2(p0, p1, p2);
}

namespace {
struct HeightScratch : RationalSet<27>
{};
std::once_flag heightScratchOnce;
std::unique_ptr<HeightScratch> pHeightScratch;
std::mutex heightMutex;
} // namespace

double getExactHeight(const Point2& p0, const Point2& p1, const Point2& p2, double x, double y)
{
	{
		InputCheck check("getExactHeight()", "point", InputCheck::FINITE);
		bool bAccepted(check.accept(p0));
		bAccepted = check.accept(p1) && bAccepted;
		bAccepted = check.accept(p2) && bAccepted;
		bAccepted = check.accept(x, y, 0.0) && bAccepted;
		if(!bAccepted)
		{
			check.report(4);
			return std::numeric_limits<double>::quiet_NaN(); // no height
		}
	}
	std::lock_guard<std::mutex> lock(heightMutex);
	std::call_once(heightScratchOnce, [] { pHeightScratch.reset(new HeightScratch); });
	mpq_t* q(pHeightScratch->q);
	mpq_ptr A(q[0]), B(q[1]), C(q[2]), D(q[3]), E(q[4]), F(q[5]), G(q[6]), H(q[7]), I(q[8]), qx(q[9]), qy(q[10]);
	mpq_ptr eb(q[11]), ic(q[12]), hb(q[13]), fc(q[14]), da(q[15]), ga(q[16]);
	mpq_ptr t0(q[17]), t1(q[18]), nx(q[19]), ny(q[20]), nz(q[21]), slopeY(q[22]), slopeX(q[23]), dy(q[24]), dx(q[25]), z(q[26]);

	mpq_set_d(A, p0.x());
	mpq_set_d(B, p0.y());
	mpq_set_d(C, p0.z());
	mpq_set_d(D, p1.x());
	mpq_set_d(E, p1.y());
	mpq_set_d(F, p1.z());
	mpq_set_d(G, p2.x());
	mpq_set_d(H, p2.y());
	mpq_set_d(I, p2.z());
	mpq_set_d(qx, x);
	mpq_set_d(qy, y);

	mpq_sub(eb, E, B);
	mpq_sub(ic, I, C);
	mpq_sub(hb, H, B);
	mpq_sub(fc, F, C);
	mpq_sub(da, D, A);
	mpq_sub(ga, G, A);

	// The plane's normal (nx, -ny, nz).
	mpq_mul(t0, eb, ic);
	mpq_mul(t1, hb, fc);
	mpq_sub(nx, t0, t1);
	mpq_mul(t0, da, ic);
	mpq_mul(t1, ga, fc);
	mpq_sub(ny, t0, t1);
	mpq_mul(t0, da, hb);
	mpq_mul(t1, ga, eb);
	mpq_sub(nz, t0, t1);
	MIREL_ASSERT(mpq_sgn(nz)!=0);

	// z = C + (ny/nz)(y - B) - (nx/nz)(x - A)
	mpq_div(slopeY, ny, nz);
	mpq_div(slopeX, nx, nz);
	mpq_sub(dy, qy, B);
	mpq_sub(dx, qx, A);
	mpq_mul(t0, slopeY, dy);
	mpq_mul(t1, slopeX, dx);
	mpq_add(z, C, t0);
	mpq_sub(z, z, t1);
	return toNearestDouble(z, t0, t1);
}

} // namespace MIREL25D
