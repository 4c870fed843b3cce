#include "GeomTest.h"
#include "test_support.h"
#include "tools.h"
#include <cfenv>
#include <cmath>
#include <thread>

using namespace MIREL25D;

// Reference signs computed here with GMP, independently of GeomTest.
namespace {
mpq_class Q(double d) { return mpq_class(d); }
Orientation2 exactOrientation(const Point2& a, const Point2& b, const Point2& c)
{
	int s(mtest::exactOrientation(a, b, c));
	return s > 0 ? ORIENTATION2_CCW : (s < 0 ? ORIENTATION2_CW : ORIENTATION2_COLLINEAR);
}
CircleIncidence2 exactInCircle(const Point2& a, const Point2& b, const Point2& c, const Point2& d)
{
	int s(mtest::exactInCircle(a, b, c, d));
	return s > 0 ? CINC2_INCIRCLE : (s < 0 ? CINC2_OUTCIRCLE : CINC2_ONCIRCLE);
}
Point2 P(double x, double y, double z = 0) { return Point2(x, y, z); }
// Orientation answers of a GeomTest for a triple in all six orders must agree with the reference.
void expectOrientationExact(GeomTest& gt, const Point2& a, const Point2& b, const Point2& c)
{
	Orientation2 expected(exactOrientation(a, b, c));
	Orientation2 flipped(expected == ORIENTATION2_COLLINEAR ? expected : (expected == ORIENTATION2_CCW ? ORIENTATION2_CW : ORIENTATION2_CCW));
	ASSERT_EQ(gt.getOrientation2(&a, &b, &c), expected) << std::hexfloat << a << " " << b << " " << c;
	ASSERT_EQ(gt.getOrientation2(&b, &c, &a), expected);
	ASSERT_EQ(gt.getOrientation2(&c, &a, &b), expected);
	ASSERT_EQ(gt.getOrientation2(&b, &a, &c), flipped);
	ASSERT_EQ(gt.getOrientation2(&a, &c, &b), flipped);
	ASSERT_EQ(gt.getOrientation2(&c, &b, &a), flipped);
}
} // namespace

// One sweep over the near-degenerate families, each with the bound its owner
// would report: points near lines at the scales callers use; exactly collinear
// triples whose differences round (only correctly directed rounding keeps the
// interval stage from deciding), also scaled into the subnormal range; and
// tiny coordinates whose products underflow. The edge form is checked on the
// same triples.
TEST(GeomTestOrientation, NearDegenerateFamiliesAgreeWithExactSign)
{
	std::mt19937_64 rng(17);
	std::uniform_real_distribution<double> unit(-1, 1), param(-0.5, 1.5);
	std::uniform_int_distribution<long> mant(1, (1L << 40)), slope(-7, 7), expo(-30, 8);
	auto check = [&](GeomTest& gt, const Point2& a, const Point2& b, const Point2& c) {
		expectOrientationExact(gt, a, b, c);
		for(int i = 0; i < 3; ++i) // edge i runs from corner i+1 to corner i+2
		{
			Point2* aCorner[3];
			aCorner[i] = const_cast<Point2*>(&c);
			aCorner[nextIndex(i)] = const_cast<Point2*>(&a);
			aCorner[prevIndex(i)] = const_cast<Point2*>(&b);
			Triangle2 t(aCorner[0], aCorner[1], aCorner[2]);
			ASSERT_EQ(gt.getOrientation2(&t, i, &c), exactOrientation(a, b, c));
		}
	};
	for(double scale = 1e-9; scale < 2e9 && !HasFatalFailure(); scale *= 1e3)
	{
		GeomTest gt;
		gt.setStaticBound_MT(2 * scale);
		for(int i = 0; i < 3000 && !HasFatalFailure(); ++i)
		{
			Point2 p(P(scale * unit(rng), scale * unit(rng))), q(P(scale * unit(rng), scale * unit(rng)));
			double t(param(rng));
			check(gt, p, q, P(p.x() + t * (q.x() - p.x()), p.y() + t * (q.y() - p.y())));
		}
	}
	for(int scaleExp : {0, -540})
	{
		GeomTest gt;
		gt.setStaticBound_MT(std::ldexp(1e16, scaleExp));
		for(int tested = 0; tested < 3000 && !HasFatalFailure();)
		{
			long m(slope(rng)), k(slope(rng) * 1000);
			Point2 pts[3];
			for(Point2& p : pts)
			{
				double x(std::ldexp(double(mant(rng)), int(expo(rng))));
				p = P(std::ldexp(x, scaleExp), std::ldexp(double(m) * x + double(k), scaleExp));
			}
			if(exactOrientation(pts[0], pts[1], pts[2]) != ORIENTATION2_COLLINEAR) continue; // y rounded
			++tested;
			check(gt, pts[0], pts[1], pts[2]);
		}
	}
	// Points on y = 3x near 2^-519: the products fall below the normal range,
	// where the relative bound rounds to nothing; a rounded difference can
	// still tip one product across a rounding step. A fresh object trusts any
	// non-zero determinant: those triples are the ones the filter must send on.
	GeomTest tiny, fresh;
	const double c0(std::ldexp(1, -519));
	tiny.setStaticBound_MT(3 * c0);
	Point2 b(P(c0, 3 * c0)), c(P(-c0, -3 * c0));
	int trusted(0);
	for(int i = 0; i < 1000000 && !HasFatalFailure(); ++i)
	{
		double x(std::ldexp(double(rng() >> 14), -569 - int(rng() % 3)));
		Point2 a(P(x, 3 * x));
		if(fresh.getOrientation2(&a, &b, &c) == ORIENTATION2_COLLINEAR) continue;
		++trusted;
		check(tiny, a, b, c);
	}
	EXPECT_GT(trusted, 0);
}

TEST(GeomTestOrientation, RoundingModeOfTheCallerIsRestored)
{
	GeomTest gt;
	gt.setStaticBound_MT(1);
	Point2 a(P(0.1, 0.3)), b(P(0.2, 0.6)), c(P(0.30000000000000004, 0.9)); // reaches the interval stage
	for(int mode : {FE_DOWNWARD, FE_TONEAREST, FE_TOWARDZERO})
	{
		std::fesetround(mode);
		Orientation2 o(gt.getOrientation2(&a, &b, &c));
		EXPECT_EQ(std::fegetround(), mode);
		std::fesetround(FE_TONEAREST);
		EXPECT_EQ(o, exactOrientation(a, b, c));
	}
}

TEST(GeomTestFloatingPointModel, ThreeDOrientationRoundsEveryOperation)
{
	// vy*wz = 1 + 2^-29 + 2^-60 and wy*vz = 1 + 2^-29 + 3*2^-62 both round to
	// 1 + 2^-29: IEEE evaluation gives 0. A fused multiply-add (contraction, or
	// fast-math) keeps one of the tails and gives a non-zero volume. The test
	// runs inside the library, under the library's own floating-point flags,
	// which no longer reach this file: it fails if the library lets contraction
	// in on a target with fused multiply-add.
	double a(1 + std::ldexp(1, -30)), b(1 + std::ldexp(1, -31)), c(1 + 3 * std::ldexp(1, -31));
	Point2 p1(1, 0, 0), p2(0, a, b), p3(0, c, a), p4(0, 0, 0);
	GeomTest gt;
	EXPECT_EQ(gt.getOrientation3D(&p1, &p2, &p3, &p4), ORIENTATION2_COLLINEAR);
	Point2 up(0.5, 0.5, 1), down(0.5, 0.5, -1), q1(1, 0, 0), q2(0, 1, 0), q3(0, 0, 0);
	EXPECT_NE(gt.getOrientation3D(&q1, &q2, &q3, &up), gt.getOrientation3D(&q1, &q2, &q3, &down));
	EXPECT_EQ(gt.getOrientation3D(&q1, &q2, &q3, &q3), ORIENTATION2_COLLINEAR);
}

// Exactly cocircular Pythagorean points (radius 65/8) at growing offsets and
// their one-ulp perturbations; a rounded (not true) grid; coordinates near 1e-81
// whose products underflow.
TEST(GeomTestInCircle, CocircularAndNearCocircularAgreeWithExactSign)
{
	const int triples[][2] = {{0, 65}, {16, 63}, {25, 60}, {33, 56}, {39, 52}};
	std::vector<std::pair<int, int>> onCircle;
	for(auto& t : triples)
		for(int sx : {-1, 1})
			for(int sy : {-1, 1})
				for(int swap = 0; swap < 2; ++swap) onCircle.push_back(swap ? std::make_pair(sx * t[1], sy * t[0]) : std::make_pair(sx * t[0], sy * t[1]));
	std::mt19937_64 rng(11);
	auto expectExact = [](GeomTest& gt, Point2* p, const Point2& d) {
		Triangle2 t(&p[0], &p[1], &p[2]);
		ASSERT_EQ(gt.circleInc3state(&t, &d), exactInCircle(p[0], p[1], p[2], d));
	};
	for(double offset : {0.0, 1e6, 1e9})
	{
		GeomTest gt;
		for(int i = 0; i < 2000 && !HasFatalFailure(); ++i)
		{
			Point2 p[4];
			for(Point2& q : p)
			{
				auto xy(onCircle[rng() % onCircle.size()]);
				q = P(offset + xy.first * 0.125, offset + xy.second * 0.125);
			}
			if(exactOrientation(p[0], p[1], p[2]) != ORIENTATION2_CCW) continue;
			ASSERT_EQ(exactInCircle(p[0], p[1], p[2], p[3]), CINC2_ONCIRCLE);
			expectExact(gt, p, p[3]);
			expectExact(gt, p, P(std::nextafter(p[3].x(), (rng() & 1) ? INFINITY : -INFINITY), p[3].y()));
			expectExact(gt, p, P(p[3].x(), std::nextafter(p[3].y(), (rng() & 1) ? INFINITY : -INFINITY)));
		}
	}
	GeomTest gt;
	std::vector<Point2> grid;
	for(int i = 0; i < 4; ++i)
		for(int j = 0; j < 4; ++j) grid.push_back(P(0.1 * i, 0.3 * j));
	for(const Point2& a : grid)
		for(const Point2& b : grid)
			for(const Point2& c : grid)
			{
				Point2 p[3] = {a, b, c};
				if(exactOrientation(a, b, c) != ORIENTATION2_CCW) continue;
				for(const Point2& d : grid) expectExact(gt, p, d);
			}
	std::uniform_real_distribution<double> unit(-1, 1);
	GeomTest tiny;
	tiny.setStaticBound_MT(3e-162);
	for(int i = 0; i < 20000 && !HasFatalFailure(); ++i)
	{
		Point2 p[4];
		for(Point2& q : p) q = P(1e-81 * unit(rng), 1e-81 * unit(rng));
		if(exactOrientation(p[0], p[1], p[2]) != ORIENTATION2_CCW) std::swap(p[0], p[1]);
		expectExact(tiny, p, p[3]);
	}
}

TEST(GeomTestThreads, SharedObjectAnswersAsSequential)
{
	// Near-degenerate inputs, so that all three exact stages run concurrently.
	std::mt19937_64 rng(59);
	std::uniform_real_distribution<double> unit(0, 1);
	std::vector<Point2> pts;
	for(int i = 0; i < 600; ++i)
	{
		double t(unit(rng));
		pts.push_back(P(0.1 + t * 1e3, 0.3 + t * 7e2, t)); // all near one line
	}
	GeomTest shared;
	const int n(int(pts.size()) - 3);
	auto evaluate = [&](GeomTest& gt, int i, std::vector<double>& out) {
		const Point2 *a(&pts[i]), *b(&pts[i + 1]), *c(&pts[i + 2]), *d(&pts[i + 3]);
		gt.updateStaticBound(a, b, c);
		out.push_back(gt.getOrientation2(a, b, c));
		Triangle2 t(const_cast<Point2*>(a), const_cast<Point2*>(b), const_cast<Point2*>(c));
		if(exactOrientation(*a, *b, *c) == ORIENTATION2_CCW) out.push_back(gt.circleInc3state(&t, d));
		double x(0), y(0);
		if(sgn((Q(b->x()) - Q(a->x())) * (Q(d->y()) - Q(c->y())) - (Q(b->y()) - Q(a->y())) * (Q(d->x()) - Q(c->x()))) != 0) gt.getIntersectionCoords_gmp_MT(*a, *b, *c, *d, x, y);
		out.push_back(x);
		out.push_back(y);
		if(exactOrientation(*a, *b, *d) != ORIENTATION2_COLLINEAR) out.push_back(getExactHeight(*a, *b, *d, c->x(), c->y()));
		out.push_back(getOrientation2(a, c, d));
	};
	std::vector<double> sequential;
	{
		GeomTest own;
		for(int i = 0; i < n; ++i) evaluate(own, i, sequential);
	}
	std::vector<std::vector<double>> results(4);
	std::vector<std::thread> threads;
	for(int k = 0; k < 4; ++k)
		threads.emplace_back([&, k] {
			for(int i = 0; i < n; ++i) evaluate(shared, i, results[k]);
		});
	for(std::thread& th : threads) th.join();
	for(const std::vector<double>& r : results) EXPECT_EQ(r, sequential);
}
