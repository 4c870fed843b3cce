// The filtered predicates (orientation, in-circle, segment intersection) and
// the exact intersection point against an independent evaluation in GMP
// rationals, on coordinates chosen to defeat the double filters.
#include "FuzzSupport.h"

using namespace fuzz;

namespace {
int sideOf(Orientation2 o)
{
	return o == ORIENTATION2_CCW ? 1 : (o == ORIENTATION2_CW ? -1 : 0);
}

// The double nearest to q: no double lies strictly closer than d.
void checkNearest(const mpq_class& q, double d)
{
	FUZZ_CHECK(std::isfinite(d));
	mpq_class err(abs(q - mpq_class(d)));
	for(double dir : {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()})
	{
		double other(std::nextafter(d, dir));
		if(std::isfinite(other)) FUZZ_CHECK(err <= abs(q - mpq_class(other)));
	}
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	QuietStdout quiet;
	Bytes in(data, size);
	Point2 a(in.point()), b(in.point()), c(in.point()), d(in.point());
	GeomTest geomTest;
	// The caller's promise: the bound covers every coordinate it will ask about.
	double maxAbs(std::max(std::max(a.getMaxAbs(), b.getMaxAbs()), std::max(c.getMaxAbs(), d.getMaxAbs())));
	geomTest.setStaticBound_MT(maxAbs * (1.0 + double(in.below(3))));

	FUZZ_CHECK(sideOf(geomTest.getOrientation2(&a, &b, &c)) == exactOrientation(a, b, c));
	FUZZ_CHECK(sideOf(geomTest.getOrientation2(&b, &d, &c)) == exactOrientation(b, d, c));
	FUZZ_CHECK(sideOf(getOrientation2_mt(&a, &c, &d)) == exactOrientation(a, c, d));

	int abc(exactOrientation(a, b, c));
	if(abc != 0)
	{
		Point2 *p0(&a), *p1(abc > 0 ? &b : &c), *p2(abc > 0 ? &c : &b);
		Triangle2 t(p0, p1, p2);
		int expected(exactInCircle(*p0, *p1, *p2, d));
		CircleIncidence2 inc(geomTest.circleInc3state(&t, &d));
		FUZZ_CHECK(inc == (expected > 0 ? CINC2_INCIRCLE : (expected < 0 ? CINC2_OUTCIRCLE : CINC2_ONCIRCLE)));
	}

	// Segment ab against cd.
	int o1(exactOrientation(a, b, c)), o2(exactOrientation(a, b, d)), o3(exactOrientation(c, d, a)), o4(exactOrientation(c, d, b));
	SegmentIntersection2 sit(geomTest.getSegmentIntersection(&a, &b, &c, &d));
	if(o1 * o2 < 0 && o3 * o4 < 0)
	{
		FUZZ_CHECK(sit == SEGINT2_INTERSECTING);
		// The exact crossing, rounded to the nearest doubles.
		mpq_class ax(a.x()), ay(a.y()), bx(b.x()), by(b.y()), cx(c.x()), cy(c.y()), dx(d.x()), dy(d.y());
		mpq_class denom((bx - ax) * (dy - cy) - (by - ay) * (dx - cx));
		mpq_class t(((cx - ax) * (dy - cy) - (cy - ay) * (dx - cx)) / denom);
		double x(0), y(0);
		geomTest.getIntersectionCoords_gmp_MT(a, b, c, d, x, y);
		checkNearest(mpq_class(ax + t * (bx - ax)), x);
		checkNearest(mpq_class(ay + t * (by - ay)), y);
	}
	// Both ends of one segment strictly on one side of the other. (Collinear
	// pieces, zero-length ones included, follow a containment rule of their own.)
	else if(o1 * o2 > 0 || (!(o1 == 0 && o2 == 0) && o3 * o4 > 0)) FUZZ_CHECK(sit == SEGINT2_NONE);

	// The exported predicates take anything, NaN and infinities included.
	Point2 raw0(in.point(false)), raw1(in.point(false)), raw2(in.point(false));
	Orientation2 o(getOrientation2(&raw0, &raw1, &raw2));
	bool bFinite(true);
	for(const Point2* p : {&raw0, &raw1, &raw2}) bFinite = bFinite && std::isfinite(p->x()) && std::isfinite(p->y()) && std::isfinite(p->z());
	if(bFinite) FUZZ_CHECK(sideOf(o) == exactOrientation(raw0, raw1, raw2));
	else FUZZ_CHECK(o == ORIENTATION2_COLLINEAR);
	return 0;
}
