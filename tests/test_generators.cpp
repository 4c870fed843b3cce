#include "freeFunctions.h"
#include "Segment2.h"
#include "tools.h"
#include "test_support.h"
#include <cmath>

using namespace MIREL25D;

namespace {
using mtest::assertionBanner;
using mtest::exactOrientation;

bool samePoints(const std::vector<Point2>& a, const std::vector<Point2>& b)
{
	return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Point2& p, const Point2& q) { return p.samePoint(q); });
}

bool segmentsCross(const Segment2& s, const Segment2& t)
{
	Point2 a(s.getSrc()), b(s.getTrg()), c(t.getSrc()), d(t.getTrg());
	int o1(exactOrientation(a, b, c)), o2(exactOrientation(a, b, d));
	int o3(exactOrientation(c, d, a)), o4(exactOrientation(c, d, b));
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

// Seeded sequences are fixed on every platform (with the range [0, 32768) the
// factor is exactly 1: the classic raw sequence for seed 1); unseeded calls in
// the same second still differ; points take halves (thirds in 3D) of the
// numbers of the same seed and are appended.
TEST(Generators, NumbersAndPointsFollowTheSeed)
{
	std::vector<double> v, a, b, c, u0, u1;
	generateRandomNumbers(5, 0.0, 32768.0, v, 1);
	EXPECT_EQ(v, std::vector<double>({41, 18467, 6334, 26500, 19169}));
	generateRandomNumbers(1000, -3.0, 7.0, a, 17);
	generateRandomNumbers(1000, -3.0, 7.0, b, 17);
	generateRandomNumbers(1000, -3.0, 7.0, c, 18);
	EXPECT_TRUE(a == b && a != c);
	EXPECT_GT(std::set<double>(a.begin(), a.end()).size(), 900u);
	EXPECT_TRUE(std::all_of(a.begin(), a.end(), [](double d) { return d >= -3.0 && d < 7.0; }));
	generateRandomNumbers(50, 0.0, 1.0, u0, 0);
	generateRandomNumbers(50, 0.0, 1.0, u1, 0);
	EXPECT_NE(u0, u1);
	generateRandomNumbers(0, 0.0, 1.0, v, 5);
	EXPECT_TRUE(v.empty());

	std::vector<double> r, r3;
	generateRandomNumbers(2 * 100, 5.0, 6.0, r, 3);
	generateRandomNumbers(3 * 50, -1.0, 1.0, r3, 9);
	std::vector<Point2> vPoints{Point2(-1, -1, -1)}, v3;
	generateRandomPoints(100, 5.0, 6.0, vPoints, 3);
	generateRandomPoints3D(50, -1.0, 1.0, v3, 9);
	ASSERT_TRUE(vPoints.size() == 101u && v3.size() == 50u);
	for(size_t i = 0; i < 100; ++i)
		EXPECT_TRUE(vPoints[i + 1].samePoint(Point2(r[i], r[100 + i], 0.0)) && vPoints[i + 1].getCustomIndex() == -1);
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
	EXPECT_NE(assertionBanner([&] { generateRandomPoints3D(10, 2.0, 1.0, vPoints, 1); }).find("  Function: MIREL25D::generateRandomPoints3D()\n"), std::string::npos);
	EXPECT_NE(assertionBanner([&] { generateRandomNumbers(10, 2.0, 1.0, vNumbers, 1); }).find("  Function: MIREL25D::generateRandomNumbers()\n"), std::string::npos);
	assertionBanner([&] { generateRandomSegments(10, 0.0, 1.0, 0.0, vSegments, 1); });
	assertionBanner([&] { generateRandomPolygon(10, 1.0, 0.0, vSegments, 1); });
	assertionBanner([&] { generateRandomSurfacePoints(3, 3, 2, 0, 0, 0, 1, 1, 0, vPoints, 1); });
	EXPECT_TRUE(vPoints.empty() && vSegments.empty());
}

TEST(Generators, CircleAndShear)
{
	// An ellipse around (10, 20) at height 5, starting on the x axis; appended.
	std::vector<Point2> vEllipse{Point2(-1, -1, -1)};
	generateCircle(7, 10, 20, 5, 3, 2, vEllipse);
	ASSERT_EQ(vEllipse.size(), 8u);
	EXPECT_TRUE(vEllipse[1].samePoint(Point2(13, 20, 5)));
	for(size_t i = 1; i < vEllipse.size(); ++i)
	{
		const Point2& p(vEllipse[i]);
		double u((p.x() - 10) / 3), v((p.y() - 20) / 2);
		EXPECT_NEAR(u * u + v * v, 1.0, 1e-12);
		EXPECT_EQ(p.z(), 5.0);
		EXPECT_TRUE(i == 1 || exactOrientation(Point2(10, 20, 0), vEllipse[i - 1], p) == 1); // counterclockwise
	}
	generateCircle(0, 0, 0, 0, 1, 1, vEllipse);
	EXPECT_EQ(vEllipse.size(), 8u);

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
	std::vector<Point2> vSurface, vOther;
	generateRandomSurfacePoints(20, 15, 6, -5, 10, 100, 5, 40, 250, vSurface, 8);
	ASSERT_EQ(vSurface.size(), 300u);
	// Rows of 20 from (-5, 10) to (5, 40), evenly spaced.
	EXPECT_TRUE(vSurface.front().x() == -5.0 && vSurface.front().y() == 10.0 && vSurface.back().x() == 5.0 && vSurface.back().y() == 40.0);
	for(size_t i = 1; i < vSurface.size(); ++i)
	{
		if(i % 20 == 0) continue;
		EXPECT_NEAR(vSurface[i].x() - vSurface[i - 1].x(), 10.0 / 19, 1e-12);
		EXPECT_EQ(vSurface[i].y(), vSurface[i - 1].y());
		// Smooth: neighbouring heights differ by a small part of the range
		EXPECT_LT(std::fabs(vSurface[i].z() - vSurface[i - 1].z()), 0.5 * 150.0);
	}
	auto zRange(std::minmax_element(vSurface.begin(), vSurface.end(), [](const Point2& a, const Point2& b) { return a.z() < b.z(); }));
	EXPECT_EQ(zRange.first->z(), 100.0);
	EXPECT_EQ(zRange.second->z(), 250.0);
	generateRandomSurfacePoints(20, 15, 6, -5, 10, 100, 5, 40, 250, vOther, 9);
	EXPECT_FALSE(samePoints(vSurface, vOther)); // the seed counts
}

TEST(Generators, SineSegmentsFormAPolyline)
{
	// Two periods of y = 2 + 3 sin((x - 1) / 0.5) from x = 1; swapped: x and y exchanged.
	std::vector<Segment2> vSine, vSwapped;
	generateSineSegments(40, 2, 1.0, 2.0, 0.5, 3.0, false, vSine);
	generateSineSegments(40, 2, 1.0, 2.0, 0.5, 3.0, true, vSwapped);
	ASSERT_EQ(vSine.size(), 40u);
	ASSERT_EQ(vSwapped.size(), 40u);
	EXPECT_TRUE(vSine.front().getSrc().samePoint(Point2(1.0, 2.0, 0.0)));
	EXPECT_NEAR(vSine.back().getTrg().x(), 1.0 + 0.5 * 4 * 3.14159265358979323846, 1e-12);
	EXPECT_NEAR(vSine.back().getTrg().y(), 2.0, 1e-12);
	for(size_t i = 0; i < vSine.size(); ++i)
	{
		EXPECT_TRUE(i + 1 == vSine.size() || vSine[i].getTrg().samePoint(vSine[i + 1].getSrc()));
		const Point2 p(vSine[i].getTrg());
		EXPECT_NEAR(p.y(), 2.0 + 3.0 * std::sin((p.x() - 1.0) / 0.5), 1e-12);
		EXPECT_TRUE(vSwapped[i].getSrc().x() == vSine[i].getSrc().y() && vSwapped[i].getSrc().y() == vSine[i].getSrc().x());
	}
}
