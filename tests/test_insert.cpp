// Insertion properties: topology and the exact Delaunay property after every
// kind of insertion, the triangle count 2n-2-h, handles in input order and the
// resolution of duplicates to the first point at a place.
#include "Dt2.h"
#include "Mirel_2D.h"
#include <gtest/gtest.h>
#include <algorithm>
#include <cstring>
#include <deque>
#include <random>
#include <set>
#include <vector>

using namespace MIREL25D;

namespace {

// Number of input places on the border of the convex hull, collinear border
// points included (monotone chain that keeps collinear points).
size_t countHullPlaces(std::vector<Point2> vPoints)
{
	std::sort(vPoints.begin(), vPoints.end());
	vPoints.erase(std::unique(vPoints.begin(), vPoints.end()), vPoints.end());
	if(vPoints.size() < 3) return vPoints.size();
	std::vector<Point2> vHull;
	for(int pass = 0; pass < 2; ++pass)
	{
		size_t base(vHull.size());
		for(const Point2& p : vPoints)
		{
			while(vHull.size() >= base + 2 && getOrientation2(&vHull[vHull.size() - 2], &vHull.back(), &p) == ORIENTATION2_CW) vHull.pop_back();
			vHull.push_back(p);
		}
		vHull.pop_back(); // the last point starts the other chain
		std::reverse(vPoints.begin(), vPoints.end());
	}
	return vHull.size();
}

// Collects the triangles reachable from the vertices' incident triangles and
// checks what every insertion must leave behind: counterclockwise triangles,
// mutual neighbour links over identical edges, valid incident triangles, every
// vertex used, the count reported by the triangulation and, unless bFast, the
// exact empty-circle property of every edge.
struct MeshCheck
{
	size_t numTriangles = 0;
	size_t numHullEdges = 0;
	bool bOk = true;
};

MeshCheck checkMesh(Mirel_2D& dt, bool bCheckDelaunay = true)
{
	MeshCheck result;
	GeomTest geomTest;
	Bbox2 box(dt.computeBoundingBox());
	geomTest.setStaticBound_MT(std::max(std::max(std::fabs(box.get_minX()), std::fabs(box.get_maxX())), std::max(std::fabs(box.get_minY()), std::fabs(box.get_maxY()))));
	std::vector<Point2*> vVertices;
	dt.getImpl()->getVertexVault().getActiveVertices(vVertices);
	EXPECT_EQ(vVertices.size(), dt.numberOfPoints());
	if(!dt.hasArea())
	{
		EXPECT_EQ(0u, dt.numberOfTriangles());
		return result;
	}
	std::set<Triangle2*> sSeen;
	std::deque<Triangle2*> qTodo;
	for(Point2* pVtx : vVertices)
	{
		Triangle2* pT(pVtx->getIncidentTriangle());
		if(pT == nullptr || !pT->hasVertex(pVtx))
		{
			ADD_FAILURE() << "vertex without a valid incident triangle: " << *pVtx;
			result.bOk = false;
			continue;
		}
		if(sSeen.insert(pT).second) qTodo.push_back(pT);
	}
	std::set<Point2*> sCorners;
	while(!qTodo.empty())
	{
		Triangle2* pT(qTodo.front());
		qTodo.pop_front();
		if(geomTest.getOrientation2(pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)) != ORIENTATION2_CCW)
		{
			ADD_FAILURE() << "triangle not counterclockwise: " << *pT;
			result.bOk = false;
		}
		for(int i = 0; i < 3; ++i)
		{
			sCorners.insert(pT->getCorner(i));
			Triangle2* pNeigh(pT->getOppositeTriangle(i));
			if(pNeigh == nullptr)
			{
				++result.numHullEdges;
				continue;
			}
			int j(-1);
			for(int k = 0; k < 3; ++k)
			{
				if(pNeigh->getOppositeTriangle(k) == pT) j = k;
			}
			if(j < 0 || pNeigh->getCorner(nextIndex(j)) != pT->getCorner(prevIndex(i)) || pNeigh->getCorner(prevIndex(j)) != pT->getCorner(nextIndex(i)))
			{
				ADD_FAILURE() << "inconsistent neighbours: " << *pT << " / " << *pNeigh;
				result.bOk = false;
				continue;
			}
			if(bCheckDelaunay && geomTest.circleInc3state(pT, pNeigh->getCorner(j)) == CINC2_INCIRCLE)
			{
				ADD_FAILURE() << "empty-circle property violated: " << *pT << " / " << *pNeigh;
				result.bOk = false;
			}
			if(sSeen.insert(pNeigh).second) qTodo.push_back(pNeigh);
		}
	}
	result.numTriangles = sSeen.size();
	EXPECT_EQ(sCorners.size(), vVertices.size()) << "every vertex is a corner, and every corner a vertex";
	EXPECT_EQ(result.numTriangles, dt.numberOfTriangles());
	if(!result.bOk) ADD_FAILURE() << "mesh check failed";
	return result;
}

// 2n - 2 - h triangles for n distinct points with h on the hull border.
void expectTriangleCount(Mirel_2D& dt, const std::vector<Point2>& vAllPoints)
{
	size_t h(countHullPlaces(vAllPoints));
	EXPECT_EQ(2 * dt.numberOfPoints() - 2 - h, dt.numberOfTriangles());
}

std::vector<Point2> randomPoints(size_t n, unsigned seed, double lo, double hi, bool bInteger = false)
{
	std::mt19937 rng(seed);
	std::uniform_real_distribution<double> uniform(lo, hi);
	std::vector<Point2> vPoints;
	for(size_t i = 0; i < n; ++i)
	{
		double x(uniform(rng)), y(uniform(rng));
		if(bInteger)
		{
			x = std::floor(x);
			y = std::floor(y);
		}
		vPoints.emplace_back(x, y, double(i));
		vPoints.back().setCustomIndex(int(i));
	}
	return vPoints;
}

// Handle i carries the place of input i; equal places share one vertex, which
// holds the height and custom index of the first input at that place (or of
// the vertex that was already there).
void expectHandlesResolveToFirst(const std::vector<Point2>& vInput, const std::vector<Point2*>& vHandles)
{
	ASSERT_EQ(vInput.size(), vHandles.size());
	std::map<std::pair<double, double>, size_t> mFirst;
	for(size_t i = 0; i < vInput.size(); ++i)
	{
		ASSERT_NE(nullptr, vHandles[i]);
		EXPECT_TRUE(*vHandles[i] == vInput[i]) << "handle " << i << " is at another place";
		auto it(mFirst.insert(std::make_pair(std::make_pair(vInput[i].x(), vInput[i].y()), i)).first);
		EXPECT_EQ(vHandles[it->second], vHandles[i]) << "duplicate " << i << " resolves to another vertex";
		EXPECT_EQ(vInput[it->second].z(), vHandles[i]->z()) << "the vertex keeps the first height";
	}
}

} // namespace

TEST(Insert, CollinearPointsWaitForTheFirstTriangle)
{
	// Single points: three on a line give no triangle, a fourth off it makes all four vertices.
	Mirel_2D dt;
	dt.insert(Point2(0, 0, 1));
	dt.insert(Point2(2, 2, 2));
	dt.insert(Point2(1, 1, 3));
	EXPECT_FALSE(dt.hasArea());
	EXPECT_FALSE(dt.is2D());
	EXPECT_EQ(0u, dt.numberOfTriangles());
	EXPECT_EQ(3u, dt.numberOfPoints());
	Point2* pFourth(dt.insert(Point2(5, 0, 4)));
	ASSERT_NE(nullptr, pFourth);
	EXPECT_TRUE(dt.hasArea());
	EXPECT_EQ(4u, dt.numberOfPoints());
	checkMesh(dt);
	expectTriangleCount(dt, {Point2(0, 0, 0), Point2(2, 2, 0), Point2(1, 1, 0), Point2(5, 0, 0)});

	// A batch: many collinear points (with repeats) stay without triangles;
	// the next batch with one point off the line triangulates all of them.
	Mirel_2D dtBatch;
	std::vector<Point2> vLine;
	for(int i = 0; i < 200; ++i) vLine.emplace_back(0.5 * (i % 97), 1.0 + (i % 97), i);
	std::vector<Point2*> vHandles;
	dtBatch.insert(vLine, vHandles);
	EXPECT_FALSE(dtBatch.hasArea());
	EXPECT_EQ(97u, dtBatch.numberOfPoints());
	expectHandlesResolveToFirst(vLine, vHandles);
	std::vector<Point2> vOff{Point2(3.0, -7.0, 0.0)};
	dtBatch.insert(vOff);
	EXPECT_EQ(98u, dtBatch.numberOfPoints());
	checkMesh(dtBatch);
	vLine.push_back(vOff[0]);
	expectTriangleCount(dtBatch, vLine);
}

TEST(Insert, DuplicatesResolveToTheFirstVertex)
{
	// Single points: same x and y, any z, the same vertex with the first z.
	Mirel_2D dt;
	Point2* pA(dt.insert(Point2(1, 1, 5)));
	EXPECT_EQ(pA, dt.insert(Point2(1, 1, 7)));
	dt.insert(Point2(4, 1, 0));
	dt.insert(Point2(2, 5, 0));
	EXPECT_EQ(pA, dt.insert(Point2(1, 1, 9)));
	EXPECT_EQ(5.0, pA->z());
	EXPECT_EQ(3u, dt.numberOfPoints());

	// n copies in one batch: n equal handles, the first copy's height, one point more.
	std::vector<Point2> vCopies(50, Point2(3, 2, 0));
	for(size_t i = 0; i < vCopies.size(); ++i) vCopies[i].setZ(100.0 + double(i));
	std::vector<Point2*> vHandles;
	dt.insert(vCopies, vHandles);
	EXPECT_EQ(4u, dt.numberOfPoints());
	expectHandlesResolveToFirst(vCopies, vHandles);
	EXPECT_EQ(100.0, vHandles[0]->z());

	// Copies into an empty triangulation (no triangle can exist).
	Mirel_2D dtEmpty;
	dtEmpty.insert(vCopies, vHandles);
	EXPECT_EQ(1u, dtEmpty.numberOfPoints());
	expectHandlesResolveToFirst(vCopies, vHandles);

	// Integer points with many repeats, in two batches; the second batch's
	// repeats of the first batch resolve to the old vertices.
	Mirel_2D dtGrid(10);
	std::vector<Point2> vFirst(randomPoints(3000, 11, 0, 40, true));
	std::vector<Point2*> vFirstHandles;
	dtGrid.insert(vFirst, vFirstHandles);
	expectHandlesResolveToFirst(vFirst, vFirstHandles);
	std::vector<Point2> vSecond(randomPoints(3000, 12, -10, 50, true));
	std::vector<Point2*> vSecondHandles;
	dtGrid.insert(vSecond, vSecondHandles);
	std::vector<Point2> vBoth(vFirst);
	vBoth.insert(vBoth.end(), vSecond.begin(), vSecond.end());
	std::vector<Point2*> vBothHandles(vFirstHandles);
	vBothHandles.insert(vBothHandles.end(), vSecondHandles.begin(), vSecondHandles.end());
	expectHandlesResolveToFirst(vBoth, vBothHandles);
	std::set<Point2*> sDistinct(vBothHandles.begin(), vBothHandles.end());
	EXPECT_EQ(sDistinct.size(), dtGrid.numberOfPoints());
	checkMesh(dtGrid);
	expectTriangleCount(dtGrid, vBoth);
	EXPECT_TRUE(dtGrid.getImpl()->getVertexVault().dupIsClean());
}

TEST(Insert, HandlesInInputOrder)
{
	std::vector<Point2> vPoints(randomPoints(5000, 3, -1e3, 1e3));
	Mirel_2D dt(static_cast<unsigned>(vPoints.size()));
	std::vector<Point2*> vHandles;
	dt.insert(vPoints, vHandles);
	ASSERT_EQ(vPoints.size(), vHandles.size());
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		EXPECT_TRUE(vHandles[i]->samePoint(vPoints[i]));
		EXPECT_EQ(int(i), vHandles[i]->getCustomIndex());
	}
	EXPECT_EQ(vPoints.size(), std::set<Point2*>(vHandles.begin(), vHandles.end()).size());

	// The coordinate array form: x, y, z triples, no custom index.
	std::vector<double> vCoords;
	for(const Point2& p : randomPoints(2000, 4, 5e2, 3e3))
	{
		vCoords.push_back(p.x());
		vCoords.push_back(p.y());
		vCoords.push_back(p.z());
	}
	std::vector<Point2*> vArrayHandles(2000, nullptr);
	dt.insert(2000, &vCoords[0], &vArrayHandles[0]);
	for(size_t i = 0; i < 2000; ++i)
	{
		EXPECT_EQ(vCoords[3 * i], vArrayHandles[i]->x());
		EXPECT_EQ(vCoords[3 * i + 1], vArrayHandles[i]->y());
		EXPECT_EQ(vCoords[3 * i + 2], vArrayHandles[i]->z());
		EXPECT_EQ(-1, vArrayHandles[i]->getCustomIndex());
	}
	EXPECT_EQ(7000u, dt.numberOfPoints());
	checkMesh(dt);
}

TEST(Insert, TriangleCountAndDelaunayOnRandomAndDegenerateSets)
{
	struct Case
	{
		const char* name;
		std::vector<Point2> vPoints;
	};
	std::vector<Case> vCases;
	vCases.push_back({"uniform", randomPoints(20000, 1, 0, 1)});
	vCases.push_back({"far offset", randomPoints(5000, 2, 1e7, 1e7 + 1)});
	std::vector<Point2> vGrid; // cocircular quadruples everywhere, collinear hull sides
	for(int i = 0; i < 60; ++i)
	{
		for(int j = 0; j < 60; ++j) vGrid.emplace_back(i, j, 0);
	}
	vCases.push_back({"grid", vGrid});
	std::vector<Point2> vCircle; // all points cocircular
	for(int i = 0; i < 64; ++i) vCircle.emplace_back(std::cos(i * 0.09817477042468103), std::sin(i * 0.09817477042468103), 0);
	vCases.push_back({"circle", vCircle});

	for(Case& c : vCases)
	{
		SCOPED_TRACE(c.name);
		Mirel_2D dt;
		dt.insert(c.vPoints);
		checkMesh(dt);
		expectTriangleCount(dt, c.vPoints);
	}

	// Batches that grow the box, then single points inside, outside and on hull edges.
	Mirel_2D dt;
	std::vector<Point2> vAll(randomPoints(3000, 5, 0, 10));
	dt.insert(vAll);
	std::vector<Point2> vFar(randomPoints(3000, 6, -100, 100));
	dt.insert(vFar);
	vAll.insert(vAll.end(), vFar.begin(), vFar.end());
	std::vector<Point2> vSingles(randomPoints(500, 7, -300, 300, true));
	Bbox2 box(dt.computeBoundingBox());
	for(int k = 0; k <= 20; ++k)
	{
		// On the line of the bounding square's sides: on hull edges or collinear beyond them.
		double t(box.get_minX() - 50 + k * (box.getRangeX() + 100) / 20);
		vSingles.emplace_back(t, 400, 0);
		vSingles.emplace_back(400, t, 0);
	}
	for(const Point2& p : vSingles)
	{
		Point2* pVtx(dt.insert(p));
		ASSERT_NE(nullptr, pVtx);
		EXPECT_TRUE(*pVtx == p);
	}
	vAll.insert(vAll.end(), vSingles.begin(), vSingles.end());
	checkMesh(dt);
	expectTriangleCount(dt, vAll);
}

TEST(Insert, FastModeKeepsAValidMesh)
{
	std::vector<Point2> vPoints(randomPoints(20000, 9, 0, 100));
	for(int i = 0; i < 40; ++i)
	{
		for(int j = 0; j < 40; ++j) vPoints.emplace_back(i * 2.5, j * 2.5, 0);
	}
	Mirel_2D dt;
	dt.setFastMode(true);
	dt.insert(vPoints);
	checkMesh(dt, false);
	expectTriangleCount(dt, vPoints);
}

namespace {
struct ProgressRecorder : public MsgBase
{
	explicit ProgressRecorder(Dt2* pDt_) : pDt(pDt_) {}
	void update(MsgType msgType, double value) override
	{
		EXPECT_EQ(MSG_PROGRESS, msgType);
		const char* pName(pDt->getCurrentOperation());
		EXPECT_TRUE(pName != nullptr && std::strcmp(pName, "insert") == 0);
		vValues.push_back(value);
	}
	Dt2* pDt;
	std::vector<double> vValues;
};
} // namespace

TEST(Insert, ProgressReachesSubscribedListenersOnce)
{
	Mirel_2D dt;
	ProgressRecorder recorder(dt.getImpl());
	dt.subscribe(MSG_PROGRESS, &recorder);
	dt.subscribe(MSG_PROGRESS, &recorder); // the same pair twice registers once
	dt.insert(randomPoints(10000, 8, 0, 1));
	ASSERT_GE(recorder.vValues.size(), 10u);
	EXPECT_LE(recorder.vValues.size(), 103u) << "at most one update per percent";
	EXPECT_TRUE(std::is_sorted(recorder.vValues.begin(), recorder.vValues.end()));
	EXPECT_EQ(100.0, recorder.vValues.back());
	EXPECT_EQ(nullptr, dt.getImpl()->getCurrentOperation());

	dt.unsubscribe(MSG_PROGRESS, &recorder);
	recorder.vValues.clear();
	dt.insert(randomPoints(1000, 10, 2, 3));
	EXPECT_TRUE(recorder.vValues.empty());
}

TEST(Insert, FacadeConfiguration)
{
	Mirel_2D dtTiny(0); // behaves as a capacity hint of 3
	dtTiny.insert(randomPoints(100, 13, 0, 1));
	EXPECT_EQ(100u, dtTiny.numberOfPoints());
	checkMesh(dtTiny);

	Mirel_2D dt;
	EXPECT_EQ(8, dt.setNumCPU(8));
	EXPECT_EQ(1, dt.setNumCPU(-3));
	EXPECT_GE(dt.setNumCPU(0), 1);
	EXPECT_STREQ("", dt.getName());
	dt.setName("terrain");
	EXPECT_STREQ("terrain", dt.getName());
	EXPECT_EQ(ORIENTATION2_CCW, dt.getOrientation(Point2(0, 0, 0), Point2(1, 0, 0), Point2(0, 1, 0)));
	EXPECT_EQ(ORIENTATION2_COLLINEAR, dt.getOrientation(Point2(0, 0, 0), Point2(1, 1, 0), Point2(3, 3, 9)));
	dt.insert(std::vector<Point2>{Point2(-1, 2, 0), Point2(4, -3, 0), Point2(2, 7, 0)});
	Bbox2 box(dt.computeBoundingBox());
	EXPECT_EQ(-1.0, box.get_minX());
	EXPECT_EQ(-3.0, box.get_minY());
	EXPECT_EQ(4.0, box.get_maxX());
	EXPECT_EQ(7.0, box.get_maxY());
}
