// Draped chains checked by properties: continuous, on the input line in
// order, on the surface (against the height query), one piece per edge
// crossing and vertex met (counted by brute force with exact orientations),
// and simplified chains that stay within the height tolerance.
#include "test_support.h"
#include <limits>

using namespace MIREL25D;
using mtest::filteredOrientation;

namespace {

std::vector<Point2> bumpyTerrain(std::mt19937& rng, size_t n)
{
	std::uniform_real_distribution<double> d(0.0, 100.0), dz(0.0, 5.0);
	std::vector<Point2> v;
	for(size_t i = 0; i < n; ++i)
	{
		double x(d(rng)), y(d(rng));
		v.push_back(Point2(x, y, 10.0 * std::sin(x * 0.1) * std::cos(y * 0.07) + dz(rng)));
	}
	return v;
}

// Proper crossings of a->b with mesh edges plus mesh vertices strictly between a and b.
size_t countCrossingsAndVertices(const std::vector<Triangle2*>& vT, const Point2& a, const Point2& b)
{
	size_t n(0);
	std::set<const Point2*> sMet;
	for(const Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i)
		{
			const Point2* u(pT->getCorner(nextIndex(i)));
			const Point2* v(pT->getCorner(prevIndex(i)));
			const Triangle2* pN(pT->getOppositeTriangle(i));
			if(pN != nullptr && pN < pT) continue; // each edge once
			int ou(filteredOrientation(a, b, *u)), ov(filteredOrientation(a, b, *v));
			if(ou * ov < 0 && filteredOrientation(*u, *v, a) * filteredOrientation(*u, *v, b) < 0) ++n;
			if(ou == 0 && *u != a && *u != b && std::min(a.x(), b.x()) <= u->x() && u->x() <= std::max(a.x(), b.x()) &&
			   std::min(a.y(), b.y()) <= u->y() && u->y() <= std::max(a.y(), b.y()))
				sMet.insert(u);
		}
	}
	return n + sMet.size();
}

// The chain of one input segment: continuous, in order along a->b, on the
// line, and on the surface.
void checkChain(Mirel_2D& dt, const Point2& a, const Point2& b, const std::vector<Segment2>& vChain)
{
	double len(std::sqrt((b.x() - a.x()) * (b.x() - a.x()) + (b.y() - a.y()) * (b.y() - a.y())));
	double lastT(-1.0);
	for(size_t k = 0; k < vChain.size(); ++k)
	{
		if(k > 0)
		{
			ASSERT_TRUE(vChain[k - 1].getTrg().samePoint(vChain[k].getSrc())) << "chain broken at " << k;
		}
		for(const Point2& p : {vChain[k].getSrc(), vChain[k].getTrg()})
		{
			double t(((p.x() - a.x()) * (b.x() - a.x()) + (p.y() - a.y()) * (b.y() - a.y())) / (len * len));
			double off(((p.x() - a.x()) * (b.y() - a.y()) - (p.y() - a.y()) * (b.x() - a.x())) / len);
			ASSERT_LT(std::fabs(off), 1e-9 * (len + 1.0));
			ASSERT_GE(t, -1e-12);
			ASSERT_LE(t, 1.0 + 1e-12);
			ASSERT_GE(t, lastT - 1e-12);
			lastT = t;
			double h(0.0);
			ASSERT_TRUE(dt.getHeight(p.x(), p.y(), h, nullptr, 1e-9));
			ASSERT_NEAR(p.z(), h, 1e-9);
		}
	}
}

TEST(Drape, ChainsFollowEveryEdgeOnTheSurface)
{
	std::mt19937 rng(2024);
	std::vector<Point2> v(bumpyTerrain(rng, 400));
	for(int i = 0; i <= 10; ++i) // a regular patch, for segments along edges and through vertices
		for(int j = 0; j <= 10; ++j) v.push_back(Point2(40.0 + 2.0 * i, 40.0 + 2.0 * j, double(i + j)));
	Mirel_2D dt(600);
	std::vector<Point2*> vHandles;
	dt.insert(v, vHandles);
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	std::uniform_real_distribution<double> d(-30.0, 130.0);
	std::vector<std::pair<Point2, Point2>> vCases;
	for(int i = 0; i < 150; ++i) vCases.push_back(std::make_pair(Point2(d(rng), d(rng), 0), Point2(d(rng), d(rng), 0)));
	for(int i = 0; i < 10; ++i) vCases.push_back(std::make_pair(Point2(40.0, 40.0 + 2.0 * i, 0), Point2(60.0, 40.0 + 2.0 * i, 0))); // along edges
	for(int i = 0; i < 10; ++i) vCases.push_back(std::make_pair(Point2(40.0 + 2.0 * i, 40.0, 0), Point2(60.0, 60.0 - 2.0 * i, 0))); // through vertices
	vCases.push_back(std::make_pair(Point2(30.0, 30.0, 0), Point2(70.0, 70.0, 0))); // the patch's diagonal
	for(int i = 0; i < 20; ++i) vCases.push_back(std::make_pair(*vHandles[size_t(i)], *vHandles[size_t(i) + 200]));
	size_t numInside(0), numPartial(0);
	for(const auto& c : vCases)
	{
		std::vector<Segment2> vIn{Segment2(c.first, c.second)}, vOut;
		ASSERT_TRUE(dt.drape(vIn, vOut, -1.0));
		checkChain(dt, c.first, c.second, vOut);
		bool bSrcIn(dt.locate(c.first) != nullptr), bTrgIn(dt.locate(c.second) != nullptr);
		if(bSrcIn && bTrgIn)
		{
			++numInside;
			ASSERT_FALSE(vOut.empty());
			ASSERT_TRUE(vOut.front().getSrc() == c.first);
			ASSERT_TRUE(vOut.back().getTrg() == c.second);
			ASSERT_EQ(vOut.size(), countCrossingsAndVertices(vT, c.first, c.second) + 1);
		}
		else if(!vOut.empty())
		{
			++numPartial;
			if(bSrcIn)
			{
				ASSERT_TRUE(vOut.front().getSrc() == c.first);
			}
			if(bTrgIn)
			{
				ASSERT_TRUE(vOut.back().getTrg() == c.second);
			}
		}
	}
	EXPECT_GT(numInside, 60u);
	EXPECT_GT(numPartial, 20u);
}

TEST(Drape, SimplificationStaysWithinTheHeightTolerance)
{
	std::mt19937 rng(7);
	std::uniform_real_distribution<double> d(0.0, 100.0);
	// On a bumpy terrain: the simplified chain keeps only points of the full
	// chain, and every full-chain point is within the tolerance of it.
	std::vector<Point2> v(bumpyTerrain(rng, 800));
	Mirel_2D dt(800);
	dt.insert(v);
	for(double tol : {0.0, 0.5, 2.0, 1e9})
	{
		for(int i = 0; i < 20; ++i)
		{
			std::vector<Segment2> vSeg{Segment2(Point2(d(rng), d(rng), 0), Point2(d(rng), d(rng), 0))}, vFull, vSimple;
			ASSERT_TRUE(dt.drape(vSeg, vFull, -1.0));
			ASSERT_TRUE(dt.drape(vSeg, vSimple, tol));
			if(vFull.empty()) continue;
			if(tol >= 1e9)
			{
				ASSERT_EQ(vSimple.size(), 1u);
			}
			if(tol == 0.0)
			{
				ASSERT_EQ(vSimple.size(), vFull.size());
			}
			std::vector<Point2> vFullPts{vFull[0].getSrc()};
			for(const Segment2& s : vFull) vFullPts.push_back(s.getTrg());
			size_t k(0);
			for(const Segment2& s : vSimple)
			{
				const Point2 p(s.getSrc()), q(s.getTrg());
				ASSERT_TRUE(vFullPts[k].samePoint(p));
				for(++k; k < vFullPts.size() && !vFullPts[k].samePoint(q); ++k)
				{
					double t(((vFullPts[k].x() - p.x()) * (q.x() - p.x()) + (vFullPts[k].y() - p.y()) * (q.y() - p.y())) / sqDistance2D(p, q));
					ASSERT_LT(std::fabs(vFullPts[k].z() - (p.z() + t * (q.z() - p.z()))), tol + 1e-9);
				}
				ASSERT_LT(k, vFullPts.size());
			}
			ASSERT_EQ(k, vFullPts.size() - 1);
		}
	}
}

TEST(Drape, BadInputGetsAMessage)
{
	const double nan(std::numeric_limits<double>::quiet_NaN());
	std::vector<Segment2> vIn{Segment2(Point2(0.1, 0.1, 0), Point2(nan, 1, 0)), Segment2(Point2(0.1, 0.2, 0), Point2(0.9, 0.05, 0))}, vOut;
	Mirel_2D empty(10);
	std::string out(mtest::captureStdout([&] { EXPECT_FALSE(empty.drape(vIn, vOut, -1.0)); }));
	EXPECT_EQ(mtest::countOf(out, "[Mirel2D-Message]"), 1u);
	EXPECT_TRUE(vOut.empty());

	Mirel_2D dt(10);
	dt.insert(std::vector<Point2>{Point2(0, 0, 0), Point2(1, 0, 1), Point2(0, 1, 2), Point2(1, 1, 3)});
	out = mtest::captureStdout([&] { EXPECT_FALSE(dt.drape(vIn, vOut, -1.0)); });
	EXPECT_EQ(mtest::countOf(out, "[Mirel2D-Message]"), 1u);
	EXPECT_FALSE(vOut.empty()); // the finite segment is draped
	out = mtest::captureStdout([&] { EXPECT_FALSE(dt.drape(vIn, vOut, nan)); });
	EXPECT_EQ(mtest::countOf(out, "[Mirel2D-Message]"), 1u);
	// Segments that miss the mesh, or have no length, give nothing and no message.
	std::vector<Segment2> vMiss{Segment2(Point2(2, 2, 0), Point2(3, 5, 0)), Segment2(Point2(-1, 0.5, 0), Point2(0.2, -1, 0)), Segment2(Point2(5, 5, 0), Point2(5, 5, 0))};
	std::vector<Segment2> vNone;
	out = mtest::captureStdout([&] { EXPECT_TRUE(dt.drape(vMiss, vNone, -1.0)); });
	EXPECT_TRUE(vNone.empty());
	EXPECT_TRUE(out.empty());
}

} // namespace
