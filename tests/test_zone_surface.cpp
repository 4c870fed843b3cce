// Surface operations of zones, checked by properties: the mesh stays a valid
// triangulation of the same places with its constraint pieces as edges (the
// exact validator), triangles outside the zone keep their corners and
// neighbours, x and y stay where only heights may change, and the measured
// quantities (roughness and summed normal angles, computed here independently
// in long double) move the right way. The statistics text is a golden file.
#include "ConstraintGraph2.h"
#include "ConstraintSegment2.h"
#include "Mirel_2D.h"
#include "Zone2.h"
#include "test_support.h"
#include <gtest/gtest.h>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

using namespace MIREL25D;
using namespace mtest;

namespace {

typedef std::tuple<double, double, double> XYZ;

std::map<Point2*, XYZ> snapshotVertices(Mirel_2D& dt)
{
	std::vector<Point2*> vVtx;
	dt.getVertexPointers(vVtx);
	std::map<Point2*, XYZ> m;
	for(Point2* p : vVtx) m[p] = XYZ(p->x(), p->y(), p->z());
	return m;
}

// Triangles outside a zone: each one's corners, and its neighbours where
// they lie outside the zone too (zone triangles across the border may be
// other objects after flips). Equal snapshots mean an unchanged outside.
typedef std::set<const Point2*> CornerSet;
typedef std::map<const Triangle2*, std::pair<CornerSet, std::vector<const Triangle2*>>> OutsideSnapshot;
OutsideSnapshot snapshotOutside(Mirel_2D& dt, Zone2* pZone)
{
	std::vector<Triangle2*> vAllT, vZoneT;
	dt.getTrianglePointers(vAllT);
	pZone->getTriangles(vZoneT);
	std::set<const Triangle2*> sZone(vZoneT.begin(), vZoneT.end());
	OutsideSnapshot m;
	for(Triangle2* pT : vAllT)
	{
		if(sZone.count(pT) != 0) continue;
		auto& entry(m[pT]);
		entry.first = CornerSet{pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)};
		for(int i = 0; i < 3; ++i)
		{
			const Triangle2* pN(pT->getOppositeTriangle(i));
			entry.second.push_back(sZone.count(pN) != 0 ? nullptr : pN);
		}
	}
	return m;
}

std::set<CornerSet> cornerSets(Mirel_2D& dt)
{
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	std::set<CornerSet> s;
	for(Triangle2* pT : vT) s.insert(CornerSet{pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)});
	return s;
}

std::vector<Point2> currentPlaces(Mirel_2D& dt)
{
	std::vector<Point2*> vVtx;
	dt.getVertexPointers(vVtx);
	std::vector<Point2> v;
	for(Point2* p : vVtx) v.push_back(*p);
	return v;
}

struct NormalLD
{
	long double x, y, z;
};

NormalLD normalOf(const Triangle2* pT)
{
	const Point2 &a(*pT->getCorner(0)), &b(*pT->getCorner(1)), &c(*pT->getCorner(2));
	long double ux((long double)b.x() - a.x()), uy((long double)b.y() - a.y()), uz((long double)b.z() - a.z());
	long double vx((long double)c.x() - a.x()), vy((long double)c.y() - a.y()), vz((long double)c.z() - a.z());
	NormalLD n{uy * vz - uz * vy, uz * vx - ux * vz, ux * vy - uy * vx};
	long double len(std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z));
	return NormalLD{n.x / len, n.y / len, n.z / len};
}

// The summed angles (radians) between the normals of the two triangles at
// every edge of a zone triangle that has a neighbour, each edge once.
long double normalAngleSum(Zone2* pZone)
{
	std::vector<Triangle2*> vT;
	pZone->getTriangles(vT);
	std::set<Triangle2*> sZone(vT.begin(), vT.end());
	long double sum(0);
	for(Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pN(pT->getOppositeTriangle(i));
			if(pN == nullptr || (sZone.count(pN) != 0 && pN < pT)) continue;
			NormalLD n(normalOf(pT)), m(normalOf(pN));
			long double dot(n.x * m.x + n.y * m.y + n.z * m.z);
			sum += std::acos(std::max((long double)-1, std::min((long double)1, dot)));
		}
	}
	return sum;
}

std::set<Point2*> constraintVertices(Mirel_2D& dt)
{
	std::vector<ConstraintSegment2*> vPieces;
	dt.getAliveConstraintSegments(vPieces);
	std::set<Point2*> s;
	for(ConstraintSegment2* pCSeg : vPieces) s.insert({pCSeg->getSrc(), pCSeg->getTrg()});
	return s;
}

double noisySceneBase(double x, double y)
{
	return 0.02 * x - 0.03 * y + 5.0;
}

// A counterclockwise square at the heights of the scene's plane.
std::vector<Segment2> squareRing(double lo, double hi)
{
	Point2 a(lo, lo, noisySceneBase(lo, lo)), b(hi, lo, noisySceneBase(hi, lo)), c(hi, hi, noisySceneBase(hi, hi)), d(lo, hi, noisySceneBase(lo, hi));
	return {Segment2(a, b), Segment2(b, c), Segment2(c, d), Segment2(d, a)};
}

// A lattice sheared (exactly representable) so that the Delaunay diagonal of every cell is the short
// one, across a ridge that runs along the long diagonals: the worst diagonal
// for the data everywhere on the ridge.
std::vector<Point2> shearedRidge(int n, double height)
{
	std::vector<Point2> v;
	for(int j = 0; j < n; ++j)
		for(int i = 0; i < n; ++i) v.push_back(Point2(i + 0.125 * j, j, -height * std::fabs(double(i - j))));
	return v;
}

// Random points with noisy heights, a square zone and a constraint crossing it.
struct NoisyScene
{
	Mirel_2D dt;
	std::vector<Point2> vPlaces;
	Zone2* pZone;
	NoisyScene(unsigned seed, double noise) : dt(2000), pZone(nullptr)
	{
		std::mt19937 rng(seed);
		std::uniform_real_distribution<double> coord(0.0, 100.0), dz(-noise, noise);
		for(int k = 0; k < 1500; ++k)
		{
			double x(coord(rng)), y(coord(rng));
			vPlaces.push_back(Point2(x, y, noisySceneBase(x, y) + dz(rng)));
		}
		dt.insert(vPlaces);
		std::vector<Segment2> vRing(squareRing(20.0, 80.0));
		ConstraintGraph2* pGraph(dt.createConstraint(vRing, CIS_CONSTRAINED_DELAUNAY, true));
		std::vector<Segment2> vCut{Segment2(Point2(10.5, 30.25, noisySceneBase(10.5, 30.25)), Point2(90.5, 60.75, noisySceneBase(90.5, 60.75)))};
		dt.createConstraint(vCut, CIS_CONSTRAINED_DELAUNAY, false);
		pZone = dt.createZone(pGraph, ZL_INSIDE, false);
		vPlaces = currentPlaces(dt);
	}
};

// ---------------------------------------------------------------------------

TEST(ZoneSurface, PlanarTerrainIsLeftAsItIs)
{
	// Irregular places, no two x (or y) closer than 0.4: a tilted plane.
	std::mt19937 rng(11);
	std::vector<int> vCol(400), vRow(400);
	for(int k = 0; k < 400; ++k) vCol[k] = vRow[k] = k;
	std::shuffle(vRow.begin(), vRow.end(), rng);
	std::uniform_real_distribution<double> jitter(0.0, 0.3);
	std::vector<Point2> vPoints;
	for(int k = 0; k < 400; ++k)
	{
		double x(vCol[k] + jitter(rng)), y(vRow[k] + jitter(rng));
		vPoints.push_back(Point2(x, y, 0.25 * x - 0.75 * y + 3.0));
	}
	Mirel_2D dt(400);
	dt.insert(vPoints);
	Zone2* pZone(dt.createZone(nullptr, ZL_GLOBAL, false));
	std::set<CornerSet> before(cornerSets(dt));
	std::map<Point2*, XYZ> mBefore(snapshotVertices(dt));

	EXPECT_TRUE(pZone->smoothing(8));
	for(OptimizationMode mode : {OM_FAST, OM_BEST_FIRST, OM_LOOKAHEAD}) EXPECT_TRUE(pZone->slopeValleyRidgeOptimization(mode));
	EXPECT_TRUE(pZone->optimizeValleysAndRidges(0.0, 0.0));
	EXPECT_TRUE(pZone->unifyGrid(0.1));
	EXPECT_TRUE(cornerSets(dt) == before) << "a flip on a plane";
	for(const auto& entry : mBefore)
	{
		EXPECT_TRUE(entry.first->x() == std::get<0>(entry.second) && entry.first->y() == std::get<1>(entry.second));
		EXPECT_NEAR(entry.first->z(), std::get<2>(entry.second), 1e-9);
	}
}

TEST(ZoneSurface, FlipsFollowTheRidgeAndKeepTheMeshValid)
{
	for(OptimizationMode mode : {OM_FAST, OM_BEST_FIRST, OM_LOOKAHEAD})
	{
		const int n(24);
		std::vector<Point2> vPoints(shearedRidge(n, 2.0));
		Mirel_2D dt(600);
		std::vector<Point2*> vHandles;
		dt.insert(vPoints, vHandles);
		// A ring along lattice lines, through lattice points, split at each of them.
		std::vector<Segment2> vRing;
		const int aCorner[4][2] = {{3, 3}, {18, 3}, {18, 18}, {3, 18}};
		for(int k = 0; k < 4; ++k)
		{
			const int* p(aCorner[k]);
			const int* q(aCorner[(k + 1) % 4]);
			vRing.push_back(Segment2(vPoints[size_t(p[1] * n + p[0])], vPoints[size_t(q[1] * n + q[0])]));
		}
		ConstraintGraph2* pGraph(dt.createConstraint(vRing, CIS_CONSTRAINED_DELAUNAY, true));
		Zone2* pZone(dt.createZone(pGraph, ZL_INSIDE, false));
		std::vector<Point2> vPlaces(currentPlaces(dt));
		long double measureBefore(normalAngleSum(pZone));

		ASSERT_TRUE(pZone->slopeValleyRidgeOptimization(mode));
		validate(dt, vPlaces, false);
		EXPECT_LT(normalAngleSum(pZone), 0.5L * measureBefore);
		// Inside the zone the ridge is an edge between lattice points (i, i).
		for(int i = 5; i < 15; ++i)
		{
			Point2* a(vHandles[size_t(i * n + i)]);
			Point2* b(vHandles[size_t((i + 1) * n + i + 1)]);
			EXPECT_TRUE(dt.getAdjacentTriangle(a, b) != nullptr) << "ridge not followed at " << i;
		}
		// A later removal and insertion work on the non-Delaunay zone: removal
		// fills each hole validly, insertion re-legalises around the new vertex.
		for(int k = 0; k < 20; ++k)
		{
			Point2* pVtx(vHandles[size_t((5 + k % 10) * n + 6 + k / 2)]);
			if(dt.isConstraint(pVtx)) continue;
			dt.remove(pVtx);
		}
		std::mt19937 rng(7);
		std::uniform_real_distribution<double> coord(0.0, 25.0);
		std::vector<Point2> vMore;
		for(int k = 0; k < 200; ++k) vMore.push_back(Point2(coord(rng), coord(rng), 0.0));
		dt.insert(vMore);
		validateMesh(*dt.getImpl(), EmptyCircles::ignored);
		EXPECT_TRUE(dt.checkValidity(false, "after flips and insertion"));
	}
}

// Noisy terrain with a zone and a constraint across it: smoothing moves only
// inner heights off constraints and removes most of the noise; the flips then
// never cross a constraint and never raise the measure; the outside of the
// zone keeps its triangles throughout.
TEST(ZoneSurface, NoisyTerrainFlipsAndSmoothingChangeOnlyTheZone)
{
	for(OptimizationMode mode : {OM_FAST, OM_BEST_FIRST, OM_LOOKAHEAD})
	{
		NoisyScene scene(100 + unsigned(mode), 3.0);
		Mirel_2D& dt(scene.dt);
		Zone2* pZone(scene.pZone);
		OutsideSnapshot outsideBefore(snapshotOutside(dt, pZone));
		std::set<CornerSet> topoBefore(cornerSets(dt));

		// Corners of triangles outside the zone (its border too) and vertices
		// on a constraint keep their heights.
		std::set<Point2*> sFixed(constraintVertices(dt));
		for(const auto& entry : outsideBefore)
			for(const Point2* p : entry.second.first) sFixed.insert(const_cast<Point2*>(p));
		std::map<Point2*, XYZ> mBefore(snapshotVertices(dt));
		auto deviation = [&]() {
			long double sum(0);
			size_t n(0);
			for(const auto& entry : mBefore)
			{
				if(sFixed.count(entry.first) != 0) continue;
				long double d(entry.first->z() - noisySceneBase(entry.first->x(), entry.first->y()));
				sum += d * d;
				++n;
			}
			return std::sqrt(sum / n);
		};
		long double noiseBefore(deviation());
		ASSERT_TRUE(pZone->smoothing(10));
		EXPECT_LT(deviation(), 0.55 * noiseBefore);
		size_t numMoved(0);
		for(const auto& entry : mBefore)
		{
			Point2* p(entry.first);
			ASSERT_EQ(p->x(), std::get<0>(entry.second));
			ASSERT_EQ(p->y(), std::get<1>(entry.second));
			if(sFixed.count(p) != 0) EXPECT_EQ(p->z(), std::get<2>(entry.second));
			else numMoved += p->z() != std::get<2>(entry.second);
		}
		EXPECT_GT(numMoved, 500u);
		EXPECT_TRUE(cornerSets(dt) == topoBefore);
		EXPECT_TRUE(snapshotOutside(dt, pZone) == outsideBefore);

		long double measureBefore(normalAngleSum(pZone));
		std::vector<Triangle2*> vZoneBefore, vZoneAfter;
		pZone->getTriangles(vZoneBefore);
		ASSERT_TRUE(pZone->slopeValleyRidgeOptimization(mode));
		validate(dt, scene.vPlaces, false);
		pZone->getTriangles(vZoneAfter);
		EXPECT_TRUE(vZoneAfter == vZoneBefore) << "the zone holds other triangles";
		EXPECT_FALSE(cornerSets(dt) == topoBefore) << "the remaining noise gives flips";
		EXPECT_LT(normalAngleSum(pZone), measureBefore);
		EXPECT_TRUE(snapshotOutside(dt, pZone) == outsideBefore);
	}
}

TEST(ZoneSurface, UnifyGridSnapsJitteredPointsOntoTheGrid)
{
	std::mt19937 rng(21);
	std::uniform_real_distribution<double> jitter(-2e-4, 2e-4);
	std::uniform_int_distribution<int> coin(0, 3);
	std::vector<Point2> vPoints;
	for(int i = 0; i <= 20; ++i)
		for(int j = 0; j <= 20; ++j)
		{
			bool bInner(i > 0 && i < 20 && j > 0 && j < 20);
			bool bJitter(bInner && coin(rng) == 0);
			vPoints.push_back(Point2(10.0 * i + (bJitter ? jitter(rng) : 0.0), 10.0 * j + (bJitter ? jitter(rng) : 0.0), double(i * j)));
		}
	Mirel_2D dt(500);
	std::vector<Point2*> vHandles;
	dt.insert(vPoints, vHandles);
	// A constraint through jittered places: its vertices must stay.
	std::vector<Segment2> vCut{Segment2(vPoints[5 * 21 + 5], vPoints[15 * 21 + 12])};
	dt.createConstraint(vCut, CIS_CONSTRAINED_DELAUNAY, false);
	Point2* pCutEnd(vHandles[5 * 21 + 5]);
	Point2 cutEnd(*pCutEnd);
	Zone2* pZone(dt.createZone(nullptr, ZL_GLOBAL, false));
	std::map<Point2*, XYZ> mBefore(snapshotVertices(dt));

	ASSERT_TRUE(pZone->unifyGrid(1e-3));
	EXPECT_TRUE(pCutEnd->samePoint(cutEnd));
	std::set<Point2*> sOnConstraint(constraintVertices(dt));
	for(const auto& entry : mBefore)
	{
		Point2* p(entry.first);
		EXPECT_EQ(p->z(), std::get<2>(entry.second));
		if(sOnConstraint.count(p) != 0) continue;
		EXPECT_TRUE(p->x() == 10.0 * std::round(p->x() / 10.0) && p->y() == 10.0 * std::round(p->y() / 10.0));
	}
	// Delaunay again apart from the constraint (the grid is cocircular: ties are fine).
	validateMesh(*dt.getImpl(), EmptyCircles::ignored);
	EXPECT_TRUE(dt.checkValidity(true, "after unifyGrid"));
	std::map<Point2*, XYZ> mOnce(snapshotVertices(dt));
	std::set<CornerSet> topoOnce(cornerSets(dt));
	ASSERT_TRUE(pZone->unifyGrid(1e-3));
	EXPECT_TRUE(snapshotVertices(dt) == mOnce && cornerSets(dt) == topoOnce) << "a second pass changed the grid";
}

TEST(ZoneSurface, BadArgumentsChangeNothing)
{
	NoisyScene scene(9, 1.0);
	Zone2* pZone(scene.pZone);
	std::map<Point2*, XYZ> mBefore(snapshotVertices(scene.dt));
	std::set<CornerSet> topoBefore(cornerSets(scene.dt));
	const double nan(std::numeric_limits<double>::quiet_NaN()), inf(std::numeric_limits<double>::infinity());
	std::string out(captureStdout([&]() {
		EXPECT_FALSE(pZone->smoothing(-1));
		EXPECT_FALSE(pZone->unifyGrid(nan));
		EXPECT_FALSE(pZone->unifyGrid(-1.0));
		EXPECT_FALSE(pZone->unifyGrid(inf));
		EXPECT_FALSE(pZone->optimizeValleysAndRidges(nan, 0.0));
		EXPECT_FALSE(pZone->optimizeValleysAndRidges(10.0, 61.0));
		EXPECT_FALSE(pZone->slopeValleyRidgeOptimization(OptimizationMode(7)));
	}));
	EXPECT_EQ(countOf(out, "[Mirel2D-Message]"), 7u) << out;
	EXPECT_TRUE(snapshotVertices(scene.dt) == mBefore && cornerSets(scene.dt) == topoBefore);
}

// The statistics of a ridge terrain before and the dihedral angles after
// the data-dependent flips: the wrong diagonals show as a peak of sharp
// angles that the flips remove.
TEST(ZoneSurface, StatisticsAndDihedralAnglesMatchTheGoldenText)
{
	std::vector<Point2> vPoints(shearedRidge(12, 1.0));
	Mirel_2D dt(200);
	dt.insert(vPoints);
	Zone2* pZone(dt.createZone(nullptr, ZL_GLOBAL, false));
	std::string out(captureStdout([&]() {
		pZone->statistics("ridge");
		pZone->slopeValleyRidgeOptimization(OM_FAST);
		pZone->analyzeAngles("ridge after flips");
	}));
	expectGolden("zone_surface_statistics.txt", out);
}

} // namespace
