#include "freeFunctions.h"
#include "Segment2.h"
#include "tools.h"
#include <gmp.h>
#include <gtest/gtest.h>
#include <cmath>
#include <set>
#include <string>
#include <vector>

using namespace MIREL25D;

namespace {
bool samePoints(const std::vector<Point2>& a, const std::vector<Point2>& b)
{
	if(a.size() != b.size()) return false;
	for(size_t i = 0; i < a.size(); ++i)
	{
		if(!a[i].samePoint(b[i])) return false;
	}
	return true;
}

// Runs f, which must fail the assertion; returns the banner it printed.
template<class F>
std::string assertionBanner(F f)
{
	testing::internal::CaptureStdout();
	bool bThrown(false);
	try
	{
		f();
	}
	catch(const MirelException&)
	{
		bThrown = true;
	}
	std::string out(testing::internal::GetCapturedStdout());
	EXPECT_TRUE(bThrown);
	return out;
}

// Exact sign of the orientation determinant, in rationals: an oracle of its own.
int orientationSign(const Point2& a, const Point2& b, const Point2& c)
{
	mpq_t v[6], left, right;
	double coords[6] = {a.x(), a.y(), b.x(), b.y(), c.x(), c.y()};
	for(int i = 0; i < 6; ++i)
	{
		mpq_init(v[i]);
		mpq_set_d(v[i], coords[i]);
	}
	mpq_init(left);
	mpq_init(right);
	// (ax-cx)(by-cy) - (ay-cy)(bx-cx)
	mpq_sub(v[0], v[0], v[4]);
	mpq_sub(v[3], v[3], v[5]);
	mpq_sub(v[1], v[1], v[5]);
	mpq_sub(v[2], v[2], v[4]);
	mpq_mul(left, v[0], v[3]);
	mpq_mul(right, v[1], v[2]);
	int sign(mpq_cmp(left, right));
	for(int i = 0; i < 6; ++i) mpq_clear(v[i]);
	mpq_clear(left);
	mpq_clear(right);
	return sign > 0 ? 1 : (sign < 0 ? -1 : 0);
}

bool segmentsCross(const Segment2& s, const Segment2& t)
{
	Point2 a(s.getSrc()), b(s.getTrg()), c(t.getSrc()), d(t.getTrg());
	int o1(orientationSign(a, b, c)), o2(orientationSign(a, b, d));
	int o3(orientationSign(c, d, a)), o4(orientationSign(c, d, b));
	// Any touching counts: non-adjacent edges of a simple polygon share nothing
	if(o1 == 0 || o2 == 0 || o3 == 0 || o4 == 0)
	{
		auto within = [](const Point2& p, const Point2& q, const Point2& r) {
			return std::min(p.x(), q.x()) <= r.x() && r.x() <= std::max(p.x(), q.x()) && std::min(p.y(), q.y()) <= r.y() && r.y() <= std::max(p.y(), q.y());
		};
		return (o1 == 0 && within(a, b, c)) || (o2 == 0 && within(a, b, d)) || (o3 == 0 && within(c, d, a)) || (o4 == 0 && within(c, d, b));
	}
	return o1 != o2 && o3 != o4;
}
} // namespace

TEST(Generators, SeededNumbersArePlatformIndependent)
{
	// With the range [0, 32768) the factor is exactly 1: the raw generator
	// values, the classic sequence for seed 1.
	std::vector<double> v;
	generateRandomNumbers(5, 0.0, 32768.0, v, 1);
	EXPECT_EQ(v, std::vector<double>({41, 18467, 6334, 26500, 19169}));

	std::vector<double> a, b, c;
	generateRandomNumbers(1000, -3.0, 7.0, a, 17);
	generateRandomNumbers(1000, -3.0, 7.0, b, 17);
	generateRandomNumbers(1000, -3.0, 7.0, c, 18);
	EXPECT_EQ(a, b);
	EXPECT_NE(a, c);
	std::set<double> distinct(a.begin(), a.end());
	EXPECT_GT(distinct.size(), 900u);
	for(double d : a)
	{
		EXPECT_GE(d, -3.0);
		EXPECT_LT(d, 7.0);
	}

	std::vector<double> vEmpty{1.0, 2.0};
	generateRandomNumbers(0, 0.0, 1.0, vEmpty, 5);
	EXPECT_TRUE(vEmpty.empty());
}

TEST(Generators, UnseededCallsDiffer)
{
	// Same second of the clock, but each unseeded call reseeds once more
	std::vector<double> a, b;
	generateRandomNumbers(50, 0.0, 1.0, a, 0);
	generateRandomNumbers(50, 0.0, 1.0, b, 0);
	EXPECT_NE(a, b);
}

TEST(Generators, RandomPointsUseHalvesOfTheNumbers)
{
	std::vector<double> r;
	generateRandomNumbers(2 * 100, 5.0, 6.0, r, 3);
	std::vector<Point2> vPoints{Point2(-1, -1, -1)};
	generateRandomPoints(100, 5.0, 6.0, vPoints, 3);
	ASSERT_EQ(vPoints.size(), 101u); // appended
	for(size_t i = 0; i < 100; ++i)
	{
		EXPECT_TRUE(vPoints[i + 1].samePoint(Point2(r[i], r[100 + i], 0.0)));
		EXPECT_EQ(vPoints[i + 1].getCustomIndex(), -1);
	}
	std::vector<Point2> vAgain{Point2(-1, -1, -1)};
	generateRandomPoints(100, 5.0, 6.0, vAgain, 3);
	EXPECT_TRUE(samePoints(vPoints, vAgain));

	std::vector<double> r3;
	generateRandomNumbers(3 * 50, -1.0, 1.0, r3, 9);
	std::vector<Point2> v3;
	generateRandomPoints3D(50, -1.0, 1.0, v3, 9);
	ASSERT_EQ(v3.size(), 50u);
	for(size_t i = 0; i < 50; ++i) EXPECT_TRUE(v3[i].samePoint(Point2(r3[i], r3[50 + i], r3[100 + i])));
}

TEST(Generators, EmptyRangesAreAssertionFailures)
{
	std::vector<double> vNumbers;
	std::vector<Point2> vPoints;
	std::vector<Segment2> vSegments;
	std::string banner(assertionBanner([&] { generateRandomPoints(10, 1.0, 1.0, vPoints, 1); }));
	EXPECT_NE(banner.find("* Mirel, Condition [ min<max failed ]\n  dt2Library/freeFunctions:"), std::string::npos);
	EXPECT_NE(banner.find("  Function: MIREL25D::generateRandomPoints()\n"), std::string::npos);
	banner = assertionBanner([&] { generateRandomPoints3D(10, 2.0, 1.0, vPoints, 1); });
	EXPECT_NE(banner.find("  Function: MIREL25D::generateRandomPoints3D()\n"), std::string::npos);
	banner = assertionBanner([&] { generateRandomNumbers(10, 2.0, 1.0, vNumbers, 1); });
	EXPECT_NE(banner.find("  Function: MIREL25D::generateRandomNumbers()\n"), std::string::npos);
	assertionBanner([&] { generateRandomSegments(10, 0.0, 1.0, 0.0, vSegments, 1); });
	assertionBanner([&] { generateRandomPolygon(10, 1.0, 0.0, vSegments, 1); });
	assertionBanner([&] { generateRandomSurfacePoints(3, 3, 2, 0, 0, 0, 1, 1, 0, vPoints, 1); });
	EXPECT_TRUE(vPoints.empty());
	EXPECT_TRUE(vSegments.empty());
}

TEST(Generators, CircleAndShear)
{
	std::vector<Point2> vCircle;
	generateCircle(4, 0, 0, 0, 1, 1, vCircle);
	ASSERT_EQ(vCircle.size(), 4u);
	EXPECT_TRUE(vCircle[0].samePoint(Point2(1, 0, 0)));
	for(int i = 1; i < 4; ++i)
	{
		EXPECT_DOUBLE_EQ(vCircle[i].x(), std::cos(i * 1.570795));
		EXPECT_DOUBLE_EQ(vCircle[i].y(), std::sin(i * 1.570795));
	}
	std::vector<Point2> vEllipse;
	generateCircle(7, 10, 20, 5, 3, 2, vEllipse);
	ASSERT_EQ(vEllipse.size(), 7u);
	for(const Point2& p : vEllipse)
	{
		double u((p.x() - 10) / 3), v((p.y() - 20) / 2);
		EXPECT_NEAR(u * u + v * v, 1.0, 1e-12);
		EXPECT_EQ(p.z(), 5.0);
	}
	generateCircle(0, 0, 0, 0, 1, 1, vEllipse);
	EXPECT_EQ(vEllipse.size(), 7u);

	std::vector<Point2> vPoints{Point2(1, 2, 3), Point2(-4, 5, 6)};
	vPoints[0].setCustomIndex(77);
	shear(vPoints, 1.0, 0.0);
	EXPECT_TRUE(vPoints[0].samePoint(Point2(3, 2, 3)));
	EXPECT_EQ(vPoints[0].getCustomIndex(), -1);
	shear(vPoints, 0.0, 0.5); // y uses the old x
	EXPECT_TRUE(vPoints[1].samePoint(Point2(1, 5.5, 6)));
}

TEST(Generators, RandomSegmentsStayInTheSquareAndBelowMaxLen)
{
	std::vector<Segment2> vSegments;
	generateRandomSegments(500, -10.0, 10.0, 3.0, vSegments, 4);
	ASSERT_EQ(vSegments.size(), 500u);
	for(const Segment2& s : vSegments)
	{
		for(const Point2& p : {s.getSrc(), s.getTrg()})
		{
			EXPECT_TRUE(p.x() >= -10.0 && p.x() <= 10.0 && p.y() >= -10.0 && p.y() <= 10.0);
		}
		double len(std::sqrt(sqDistance2D(s.getSrc(), s.getTrg())));
		EXPECT_GT(len, 0.0);
		EXPECT_LE(len, 3.0 * (1 + 1e-12));
	}
	// Long segments from a small square: clamping keeps them inside, none collapses
	std::vector<Segment2> vLong;
	generateRandomSegments(300, 0.0, 1.0, 100.0, vLong, 5);
	for(const Segment2& s : vLong) EXPECT_FALSE(s.getSrc() == s.getTrg());
	std::vector<Segment2> vAgain;
	generateRandomSegments(300, 0.0, 1.0, 100.0, vAgain, 5);
	ASSERT_EQ(vAgain.size(), vLong.size());
	for(size_t i = 0; i < vLong.size(); ++i) EXPECT_TRUE(vAgain[i].getSrc().samePoint(vLong[i].getSrc()) && vAgain[i].getTrg().samePoint(vLong[i].getTrg()));
}

TEST(Generators, RandomPolygonIsASimpleCounterclockwiseRing)
{
	for(size_t n : {3u, 4u, 5u, 17u, 200u})
	{
		for(unsigned seed : {1u, 2u, 3u})
		{
			std::vector<Segment2> vRing;
			generateRandomPolygon(n, 0.0, 100.0, vRing, seed);
			ASSERT_EQ(vRing.size(), n);
			double twiceArea(0.0);
			for(size_t i = 0; i < n; ++i)
			{
				const Segment2& s(vRing[i]);
				EXPECT_TRUE(s.getTrg().samePoint(vRing[(i + 1) % n].getSrc()));
				EXPECT_TRUE(s.getSrc().x() >= 0.0 && s.getSrc().x() <= 100.0 && s.getSrc().y() >= 0.0 && s.getSrc().y() <= 100.0);
				twiceArea += s.getSrc().x() * s.getTrg().y() - s.getTrg().x() * s.getSrc().y();
				// Non-adjacent edges share no point
				for(size_t j = i + 2; j < n; ++j)
				{
					if(i == 0 && j == n - 1) continue;
					EXPECT_FALSE(segmentsCross(s, vRing[j])) << "n=" << n << " seed=" << seed << " edges " << i << ", " << j;
				}
			}
			EXPECT_GT(twiceArea, 0.0);
		}
	}
	std::vector<Segment2> vNone;
	generateRandomPolygon(2, 0.0, 1.0, vNone, 1);
	EXPECT_TRUE(vNone.empty());
}

TEST(Generators, SurfaceGridSpansTheHeightRange)
{
	std::vector<Point2> vSurface;
	generateRandomSurfacePoints(20, 15, 6, -5, 10, 100, 5, 40, 250, vSurface, 8);
	ASSERT_EQ(vSurface.size(), 300u);
	double zLow(1e300), zHigh(-1e300);
	for(size_t iy = 0; iy < 15; ++iy)
	{
		for(size_t ix = 0; ix < 20; ++ix)
		{
			const Point2& p(vSurface[iy * 20 + ix]);
			EXPECT_DOUBLE_EQ(p.x(), -5.0 + 10.0 * ix / 19.0);
			EXPECT_DOUBLE_EQ(p.y(), 10.0 + 30.0 * iy / 14.0);
			zLow = std::min(zLow, p.z());
			zHigh = std::max(zHigh, p.z());
		}
	}
	EXPECT_EQ(vSurface.back().x(), 5.0);
	EXPECT_EQ(vSurface.back().y(), 40.0);
	EXPECT_EQ(zLow, 100.0);
	EXPECT_EQ(zHigh, 250.0);
	// Smooth: neighbouring grid heights differ by a small part of the range
	for(size_t i = 0; i + 1 < vSurface.size(); ++i)
	{
		if((i + 1) % 20 != 0)
		{
			EXPECT_LT(std::fabs(vSurface[i + 1].z() - vSurface[i].z()), 0.5 * 150.0);
		}
	}
	std::vector<Point2> vAgain;
	generateRandomSurfacePoints(20, 15, 6, -5, 10, 100, 5, 40, 250, vAgain, 8);
	EXPECT_TRUE(samePoints(vSurface, vAgain));
	std::vector<Point2> vOther;
	generateRandomSurfacePoints(20, 15, 6, -5, 10, 100, 5, 40, 250, vOther, 9);
	EXPECT_FALSE(samePoints(vSurface, vOther));
}

TEST(Generators, SineSegmentsFormAPolyline)
{
	std::vector<Segment2> vSine;
	generateSineSegments(40, 2, 1.0, 2.0, 0.5, 3.0, false, vSine);
	ASSERT_EQ(vSine.size(), 40u);
	EXPECT_TRUE(vSine.front().getSrc().samePoint(Point2(1.0, 2.0, 0.0)));
	const double pi(3.14159265358979323846);
	EXPECT_NEAR(vSine.back().getTrg().x(), 1.0 + 0.5 * 4 * pi, 1e-12);
	EXPECT_NEAR(vSine.back().getTrg().y(), 2.0, 1e-12);
	for(size_t i = 0; i < vSine.size(); ++i)
	{
		if(i + 1 < vSine.size())
		{
			EXPECT_TRUE(vSine[i].getTrg().samePoint(vSine[i + 1].getSrc()));
		}
		const Point2 p(vSine[i].getTrg());
		EXPECT_NEAR(p.y(), 2.0 + 3.0 * std::sin((p.x() - 1.0) / 0.5), 1e-12);
	}
	std::vector<Segment2> vSwapped;
	generateSineSegments(40, 2, 1.0, 2.0, 0.5, 3.0, true, vSwapped);
	ASSERT_EQ(vSwapped.size(), vSine.size());
	for(size_t i = 0; i < vSine.size(); ++i)
	{
		EXPECT_EQ(vSwapped[i].getSrc().x(), vSine[i].getSrc().y());
		EXPECT_EQ(vSwapped[i].getSrc().y(), vSine[i].getSrc().x());
	}
}
