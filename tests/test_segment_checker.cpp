#include "SegmentChecker.h"
#include "test_support.h"
#include <cstdint>
#include <memory>

using namespace MIREL25D;

namespace {

// Independent reference: segments on a small integer grid, classified by
// the common point set computed in 64-bit integers (translation invariant, so
// the same answer holds for the shifted double coordinates the checker sees).
struct IntPt
{
	int64_t x, y;
	bool operator==(const IntPt& o) const { return x == o.x && y == o.y; }
	bool operator<(const IntPt& o) const { return x < o.x || (x == o.x && y < o.y); }
};

int64_t cross(IntPt a, IntPt b, IntPt c)
{
	return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool onClosed(IntPt a, IntPt b, IntPt q)
{
	return cross(a, b, q) == 0 && !(q < std::min(a, b)) && !(std::max(a, b) < q);
}

SegmentIntersectionType referenceType(IntPt a, IntPt b, IntPt c, IntPt d)
{
	bool bDeg1(a == b), bDeg2(c == d);
	if(bDeg1 && bDeg2) return a == c ? SIT_ENDPOINT : SIT_NONE;
	if(bDeg1 || bDeg2)
	{
		IntPt q(bDeg1 ? a : c), s(bDeg1 ? c : a), t(bDeg1 ? d : b);
		if(q == s || q == t) return SIT_ENDPOINT;
		return onClosed(s, t, q) ? SIT_POINT : SIT_NONE;
	}
	if(cross(a, b, c) == 0 && cross(a, b, d) == 0)
	{
		IntPt lo(std::max(std::min(a, b), std::min(c, d))), hi(std::min(std::max(a, b), std::max(c, d)));
		if(hi < lo) return SIT_NONE;
		if(lo < hi) return SIT_SEGMENT;
		// one common point
		bool bEnd1(lo == a || lo == b), bEnd2(lo == c || lo == d);
		return (bEnd1 && bEnd2) ? SIT_ENDPOINT : SIT_POINT;
	}
	// Lines cross in one point: a + t(b-a), t = num/den.
	int64_t den((b.x - a.x) * (d.y - c.y) - (b.y - a.y) * (d.x - c.x));
	if(den == 0) return SIT_NONE; // parallel, not collinear
	int64_t tNum((c.x - a.x) * (d.y - c.y) - (c.y - a.y) * (d.x - c.x));
	int64_t uNum((c.x - a.x) * (b.y - a.y) - (c.y - a.y) * (b.x - a.x));
	if(den < 0)
	{
		den = -den;
		tNum = -tNum;
		uNum = -uNum;
	}
	if(tNum < 0 || tNum > den || uNum < 0 || uNum > den) return SIT_NONE;
	bool bEnd1(tNum == 0 || tNum == den), bEnd2(uNum == 0 || uNum == den);
	if(bEnd1 && bEnd2) return SIT_ENDPOINT;
	return SIT_POINT;
}

bool isReported(SegmentIntersectionType sit, bool bAlsoEndPoints)
{
	return sit == SIT_POINT || sit == SIT_SEGMENT || (bAlsoEndPoints && sit == SIT_ENDPOINT);
}

struct RandomSegments
{
	std::vector<IntPt> vA, vB;
	std::vector<std::unique_ptr<Segment2> > vOwned;
	std::vector<Segment2*> vSegments;

	// Short segments on a coarse grid: shared endpoints, collinear overlaps,
	// T-junctions and zero-length segments are all frequent.
	RandomSegments(unsigned seed, size_t n, int grid, int maxLen, double base)
	{
		std::mt19937 rng(seed);
		std::uniform_int_distribution<int> coord(0, grid), delta(-maxLen, maxLen);
		for(size_t i = 0; i < n; ++i)
		{
			IntPt a{coord(rng), coord(rng)};
			IntPt b{a.x + delta(rng), a.y + delta(rng)};
			if(rng() % 5 == 0) b = IntPt{a.x + delta(rng), a.y}; // axis-parallel runs overlap often
			vA.push_back(a);
			vB.push_back(b);
			vOwned.emplace_back(new Segment2(Point2(base + double(a.x), base + double(a.y), double(i)), Point2(base + double(b.x), base + double(b.y), double(i) + 1)));
			vSegments.push_back(vOwned.back().get());
		}
	}
};

} // namespace

TEST(SegmentChecker, ClassificationMatchesIntegerReference)
{
	for(double base : {0.0, 1e9, -3.5e6})
	{
		RandomSegments rs(7, 400, 12, 4, base);
		SegmentChecker checker(rs.vSegments);
		int counts[5] = {0, 0, 0, 0, 0};
		for(size_t i = 0; i < rs.vSegments.size(); ++i)
		{
			for(size_t j = 0; j < rs.vSegments.size(); ++j)
			{
				if(i == j) continue;
				SegmentIntersectionType expected(referenceType(rs.vA[i], rs.vB[i], rs.vA[j], rs.vB[j]));
				SegmentIntersectionType got(checker.getIntersectionType(rs.vSegments[i], rs.vSegments[j]));
				ASSERT_EQ(got, expected) << "i=" << i << " j=" << j << " base=" << base;
				++counts[got];
			}
		}
		// The generator must really produce every kind of contact.
		for(int sit = SIT_NONE; sit <= SIT_ENDPOINT; ++sit) EXPECT_GT(counts[sit], 50) << sit;
	}
}

TEST(SegmentChecker, IllegalSegmentsAndIntersectorsMatchBruteForce)
{
	for(unsigned seed : {1u, 2u, 3u})
	{
		RandomSegments rs(seed, 1500, 60, 6, 1e7);
		SegmentChecker checker(rs.vSegments);
		for(bool bEnd : {false, true})
		{
			std::vector<bool> vExpected(rs.vSegments.size(), false);
			for(size_t i = 0; i < rs.vSegments.size(); ++i)
			{
				for(size_t j = i + 1; j < rs.vSegments.size(); ++j)
				{
					if(isReported(referenceType(rs.vA[i], rs.vB[i], rs.vA[j], rs.vB[j]), bEnd)) vExpected[i] = vExpected[j] = true;
				}
			}
			std::vector<Segment2*> vIllegal;
			checker.getIllegalSegments(bEnd, vIllegal);
			std::vector<Segment2*> vExpectedSegs;
			for(size_t i = 0; i < vExpected.size(); ++i)
			{
				if(vExpected[i]) vExpectedSegs.push_back(rs.vSegments[i]);
			}
			EXPECT_EQ(vIllegal, vExpectedSegs);
			EXPECT_GT(vIllegal.size(), 10u);
			EXPECT_LT(vIllegal.size(), rs.vSegments.size());
		}
		// Intersectors of a few segments, as a set of (index, type).
		for(size_t i = 0; i < rs.vSegments.size(); i += 37)
		{
			std::set<std::pair<size_t, int> > expected, got;
			for(size_t j = 0; j < rs.vSegments.size(); ++j)
			{
				if(j == i) continue;
				SegmentIntersectionType sit(referenceType(rs.vA[i], rs.vB[i], rs.vA[j], rs.vB[j]));
				if(isReported(sit, true)) expected.emplace(j, sit);
			}
			std::vector<std::pair<Segment2*, SegmentIntersectionType> > vIntersectors;
			checker.getIntersectors(rs.vSegments[i], true, vIntersectors);
			for(auto& hit : vIntersectors) got.emplace(checker.getIndex(hit.first), hit.second);
			EXPECT_EQ(got, expected) << "segment " << i;
		}
	}
}

TEST(SegmentChecker, IntersectionPointAndOverlapCarryHeightsOfEachSegment)
{
	SegmentChecker checker;
	Segment2 s1(Point2(0, 0, 0), Point2(2, 2, 2)), s2(Point2(0, 2, 10), Point2(2, 0, 20));
	Point2 q1, q2;
	ASSERT_TRUE(checker.getIntersectionPoint(SIT_POINT, s1, s2, q1, q2));
	EXPECT_TRUE(q1.samePoint(Point2(1, 1, 1)) && q2.samePoint(Point2(1, 1, 15)));
	// A T-junction yields the touching endpoint.
	Segment2 tee(Point2(1, 1, 7), Point2(5, 5, 3));
	ASSERT_EQ(checker.getIntersectionType(&s2, &tee), SIT_POINT);
	ASSERT_TRUE(checker.getIntersectionPoint(SIT_POINT, s2, tee, q1, q2));
	EXPECT_TRUE(q1 == Point2(1, 1, 0) && q2.z() == 7.0);
	Segment2 c1(Point2(0, 0, 0), Point2(4, 0, 4)), c2(Point2(6, 0, 60), Point2(2, 0, 20)), o1, o2;
	ASSERT_TRUE(checker.getIntersectionSegment(c1, c2, o1, o2));
	EXPECT_TRUE(o1.getSrc().samePoint(Point2(2, 0, 2)) && o1.getTrg().x() == 4.0 && o2.getSrc().z() == 20.0 && o2.getTrg().z() == 40.0);
	// A type that does not fit the segments, or non-collinear ones for an overlap: a message and false.
	std::string out(mtest::captureStdout([&] {
		EXPECT_FALSE(checker.getIntersectionPoint(SIT_ENDPOINT, s1, s2, q1, q2));
		EXPECT_FALSE(checker.getIntersectionPoint(SIT_NONE, s1, s2, q1, q2));
		EXPECT_FALSE(checker.getIntersectionSegment(s1, s2, o1, o2));
	}));
	EXPECT_EQ(mtest::countOf(out, "[Mirel2D-Message]"), 3u) << out;
}

