// Contours checked by properties: every point lies on a crossed edge of the
// triangle set at exactly the requested height, polylines are continuous,
// rings close exactly, one segment per crossed triangle, open polylines use
// two border crossings each (none split), higher ground on the left.
#include "IsoContours.h"
#include "Visualizer2.h"
#include "test_support.h"
#include <limits>

using namespace MIREL25D;

namespace {

struct Level
{
	size_t numCrossedTriangles = 0;
	size_t numBorderCrossings = 0; // border edges of the set crossed
};

Level countLevel(const std::vector<Triangle2*>& vT, double h)
{
	std::set<const Triangle2*> sT(vT.begin(), vT.end());
	Level level;
	for(const Triangle2* pT : vT)
	{
		double z[3] = {pT->getCorner(0)->z(), pT->getCorner(1)->z(), pT->getCorner(2)->z()};
		if(std::min({z[0], z[1], z[2]}) < h && h < std::max({z[0], z[1], z[2]})) ++level.numCrossedTriangles;
		for(int i = 0; i < 3; ++i)
		{
			double zu(z[nextIndex(i)]), zv(z[prevIndex(i)]);
			bool bCrossed((zu < h && h < zv) || (zv < h && h < zu));
			if(bCrossed && sT.count(pT->getOppositeTriangle(i)) == 0) ++level.numBorderCrossings;
		}
	}
	return level;
}

// p lies on an edge of the set whose ends bracket h, at the place where the
// edge has height h.
bool isOnCrossedEdge(const std::vector<Triangle2*>& vT, const Point2& p, double h)
{
	for(const Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i)
		{
			const Point2& u(*pT->getCorner(nextIndex(i)));
			const Point2& v(*pT->getCorner(prevIndex(i)));
			if(!((u.z() < h && h < v.z()) || (v.z() < h && h < u.z()))) continue;
			double t((h - u.z()) / (v.z() - u.z()));
			double ex(u.x() + t * (v.x() - u.x())), ey(u.y() + t * (v.y() - u.y()));
			double scale(std::sqrt(sqDistance2D(u, v)) + std::fabs(u.x()) + std::fabs(u.y()));
			if(std::fabs(ex - p.x()) <= 1e-12 * scale && std::fabs(ey - p.y()) <= 1e-12 * scale) return true;
		}
	}
	return false;
}

// Checks one height; returns the number of closed and open polylines.
std::pair<size_t, size_t> checkContours(IsoContours& iso, const std::vector<Triangle2*>& vT, double h)
{
	std::vector<std::vector<Segment2>> vv;
	EXPECT_TRUE(iso.getContours(h, vv, true, false));
	Level level(countLevel(vT, h));
	size_t numSegments(0), numClosed(0), numOpen(0);
	for(const std::vector<Segment2>& vC : vv)
	{
		EXPECT_FALSE(vC.empty());
		numSegments += vC.size();
		for(size_t k = 0; k < vC.size(); ++k)
		{
			EXPECT_TRUE(vC[k].getSrc().z() == h && vC[k].getTrg().z() == h) << vC[k];
			EXPECT_TRUE(isOnCrossedEdge(vT, vC[k].getSrc(), h)) << vC[k];
			EXPECT_TRUE(k == 0 || vC[k - 1].getTrg().samePoint(vC[k].getSrc())) << "a gap at " << k;
		}
		EXPECT_TRUE(isOnCrossedEdge(vT, vC.back().getTrg(), h));
		if(vC.back().getTrg().samePoint(vC.front().getSrc())) ++numClosed;
		else ++numOpen;
	}
	EXPECT_EQ(numSegments, level.numCrossedTriangles);
	EXPECT_EQ(2 * numOpen, level.numBorderCrossings);
	return std::make_pair(numClosed, numOpen);
}

double signedArea(const std::vector<Segment2>& vC)
{
	double a(0.0);
	for(const Segment2& s : vC) a += s.getSrc().x() * s.getTrg().y() - s.getTrg().x() * s.getSrc().y();
	return 0.5 * a;
}

// A cone (one closed ring per height, counterclockwise around the top), a
// plane over a convex set (one open polyline) and the same plane with a round
// hole (open polylines only, in two pieces where a level passes the hole).
TEST(IsoContours, ConePlaneAndHoledSetKeepTheInvariants)
{
	std::mt19937 rng(5);
	std::uniform_real_distribution<double> jitter(-0.2, 0.2), d(0.0, 100.0);
	std::vector<Point2> vCone{Point2(0, 0, 50.0)}, vPlane;
	for(int r = 1; r <= 10; ++r)
		for(int k = 0; k < 8 * r; ++k)
		{
			double a(2.0 * 3.14159265358979 * (k + jitter(rng)) / (8 * r)), rad(5.0 * r + jitter(rng));
			vCone.push_back(Point2(rad * std::cos(a), rad * std::sin(a), 50.0 - rad));
		}
	for(int i = 0; i < 600; ++i)
	{
		double x(d(rng)), y(d(rng));
		vPlane.push_back(Point2(x, y, 0.7 * x + 0.3 * y));
	}
	Mirel_2D cone(500), plane(600);
	cone.insert(vCone);
	plane.insert(vPlane);
	std::vector<Triangle2*> vConeT, vPlaneT, vHoledT;
	cone.getTrianglePointers(vConeT);
	plane.getTrianglePointers(vPlaneT);
	for(Triangle2* pT : vPlaneT)
	{
		Point2 c(pT->getBarycenter());
		if((c.x() - 50) * (c.x() - 50) + (c.y() - 50) * (c.y() - 50) > 400) vHoledT.push_back(pT);
	}
	struct Case
	{
		const char* name;
		const std::vector<Triangle2*>& vT;
		std::vector<double> vHeights;
		size_t numClosed, numOpenMin, numOpenMax;
	};
	std::vector<double> vHoledHeights;
	for(double h = 1.01; h < 100.0; h += 2.5) vHoledHeights.push_back(h);
	const Case aCases[] = {{"cone", vConeT, {1.5, 7.25, 23.0 + 1.0 / 3.0, 44.4, 49.9}, 1, 0, 0},
	                       {"plane", vPlaneT, {3.3, 25.0 + 1e-9, 50.5, 81.7}, 0, 1, 1},
	                       {"holed", vHoledT, vHoledHeights, 0, 0, 8}};
	for(const Case& c : aCases)
	{
		SCOPED_TRACE(c.name);
		IsoContours iso(c.vT);
		size_t numTwo(0);
		for(double h : c.vHeights)
		{
			std::pair<size_t, size_t> n(checkContours(iso, c.vT, h));
			EXPECT_EQ(n.first, c.numClosed) << h;
			EXPECT_GE(n.second, c.numOpenMin) << h;
			EXPECT_LE(n.second, c.numOpenMax) << h;
			numTwo += n.second == 2;
			std::vector<std::vector<Segment2>> vv;
			iso.getContours(h, vv, false, false);
			if(c.numClosed == 1)
			{
				EXPECT_GT(signedArea(vv[0]), 0.0); // counterclockwise around the top
			}
		}
		if(c.numOpenMax > 1)
		{
			EXPECT_GT(numTwo, 5u);
		}
		// Outside the height range: nothing, and true.
		std::vector<std::vector<Segment2>> vv(3);
		EXPECT_TRUE(iso.getContours(iso.getMaxHeight() + 1.0, vv, true, false));
		EXPECT_TRUE(vv.empty());
		EXPECT_TRUE(iso.getContours(iso.getMinHeight() - 1.0, vv, true, false));
		EXPECT_TRUE(vv.empty());
	}
}

TEST(IsoContours, VertexHeightsFailOrMoveUpInSafeMode)
{
	// Integer heights on a grid: every integer is a vertex height.
	std::vector<Point2> v;
	for(int i = 0; i < 10; ++i)
		for(int j = 0; j < 10; ++j) v.push_back(Point2(i, j + 0.1 * i, double((i * 7 + j * 3) % 11)));
	Mirel_2D dt(100);
	dt.insert(v);
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	IsoContours iso(vT);
	std::vector<std::vector<Segment2>> vv(2);
	std::string out(mtest::captureStdout([&] { EXPECT_FALSE(iso.getContours(5.0, vv, true, false)); }));
	EXPECT_TRUE(vv.empty());
	std::string quiet(mtest::captureStdout([&] { EXPECT_FALSE(iso.getContours(5.0, vv, false, false)); }));
	EXPECT_TRUE(quiet.empty());
	out += mtest::captureStdout([&] { EXPECT_TRUE(iso.getContours(5.0, vv, true, true)); });
	mtest::expectGolden("isocontours_messages.txt", out);
	// The smallest step that changes 5 is 2^-50, times 1000 while that stays below 1e-6.
	const double moved(5.0 + 1000.0 * std::ldexp(1.0, -50));
	ASSERT_FALSE(vv.empty());
	EXPECT_EQ(vv[0][0].getSrc().z(), moved);
	checkContours(iso, vT, moved);
}

TEST(IsoContours, ProfilesAndBadInput)
{
	std::mt19937 rng(3);
	std::uniform_real_distribution<double> d(0.0, 100.0);
	std::vector<Point2> v{Point2(0, 0, 0), Point2(100, 0, 50), Point2(100, 100, 80), Point2(0, 100, 30)};
	for(int i = 0; i < 300; ++i)
	{
		double x(d(rng)), y(d(rng));
		v.push_back(Point2(x, y, 0.5 * x + 0.3 * y));
	}
	Mirel_2D dt(300);
	dt.insert(v);
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	IsoContours iso(vT, Vector2(1.0, 0.0, 0.0));
	for(double y : {37.3, 0.0, 100.0})
	{
		std::vector<Segment2> vProfile;
		iso.getProfile(Point2(12.0, y, 0.0), vProfile);
		ASSERT_FALSE(vProfile.empty());
		EXPECT_EQ(vProfile.front().getSrc().x(), 0.0);
		EXPECT_EQ(vProfile.back().getTrg().x(), 100.0);
		for(size_t k = 0; k < vProfile.size(); ++k)
		{
			if(k > 0)
			{
				EXPECT_TRUE(vProfile[k - 1].getTrg().samePoint(vProfile[k].getSrc()));
			}
			for(const Point2& p : {vProfile[k].getSrc(), vProfile[k].getTrg()})
			{
				EXPECT_NEAR(p.y(), y, 1e-12);
				EXPECT_NEAR(p.z(), 0.5 * p.x() + 0.3 * p.y(), 1e-9);
			}
		}
	}

	// Refused: a profile without direction, an empty set, a NaN height.
	IsoContours noDirection(vT);
	std::vector<Segment2> vProfile;
	std::vector<std::vector<Segment2>> vv(1);
	std::string out(mtest::captureStdout([&] {
		noDirection.getProfile(Point2(1, 1, 0), vProfile);
		IsoContours empty(std::vector<Triangle2*>{nullptr});
		EXPECT_FALSE(empty.getContours(1.0, vv, false, true));
		EXPECT_FALSE(iso.getContours(std::numeric_limits<double>::quiet_NaN(), vv, false, true));
	}));
	EXPECT_TRUE(vProfile.empty() && vv.empty());
	EXPECT_EQ(mtest::countOf(out, "[Mirel2D-Message]"), 5u) << out;
}

} // namespace
