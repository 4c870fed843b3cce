// The plain export of a triangulation checked against the triangulation's own
// vertices, triangles and neighbour links (identified by coordinates, not by
// the library's numbering); the clearing export against the normal one; the
// record's OBJ and print formats; and the drawing of the triangulation.
#include "Dt2.h"
#include "MirelExport.h"
#include "Visualizer2.h"
#include "freeFunctions.h"
#include "test_support.h"
#include <array>
#include <cstdio>

using namespace MIREL25D;

namespace {
using mtest::readFile;

typedef std::array<int, 3> Triple;

// Rotated so that the smallest index comes first; the cyclic order, and so
// the orientation, is kept.
Triple canonical(int a, int b, int c)
{
	if(b < a && b < c) return Triple{b, c, a};
	if(c < a && c < b) return Triple{c, a, b};
	return Triple{a, b, c};
}

// Checks the record against the live mesh; vertices are matched by x and y.
void expectExportMatchesMesh(Mirel_2D& dt, const MirelExport& ex, bool bWithCustomIndices)
{
	std::vector<Point2*> vVertices;
	dt.getVertexPointers(vVertices);
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	ASSERT_EQ(ex.dim, 3);
	ASSERT_EQ(size_t(ex.numPoints), vVertices.size());
	ASSERT_EQ(size_t(ex.numTriangles), vT.size());
	ASSERT_EQ(ex.numCustomIndices, bWithCustomIndices ? ex.numPoints : 0);

	std::map<std::pair<double, double>, int> mPlaceToIdx;
	for(int i = 0; i < ex.numPoints; ++i)
	{
		double x, y, z;
		ex.getCoordinates(i, x, y, z);
		ASSERT_TRUE(mPlaceToIdx.insert(std::make_pair(std::make_pair(x, y), i)).second) << "vertex exported twice";
	}
	std::map<const Point2*, int> mVtxToIdx;
	for(Point2* pVtx : vVertices)
	{
		auto it(mPlaceToIdx.find(std::make_pair(pVtx->x(), pVtx->y())));
		ASSERT_NE(it, mPlaceToIdx.end()) << "vertex missing: " << *pVtx;
		double x, y, z;
		ex.getCoordinates(it->second, x, y, z);
		EXPECT_EQ(z, pVtx->z());
		if(bWithCustomIndices)
		{
			EXPECT_EQ(ex.aCustomIndices[it->second], pVtx->getCustomIndex());
		}
		mVtxToIdx[pVtx] = it->second;
	}

	std::map<Triple, int> mExported;
	for(int t = 0; t < ex.numTriangles; ++t)
	{
		int a, b, c;
		ex.getCornerIndices(t, a, b, c);
		ASSERT_TRUE(mExported.insert(std::make_pair(canonical(a, b, c), t)).second) << "triangle exported twice";
	}
	std::map<const Triangle2*, int> mTriToIdx;
	for(Triangle2* pT : vT)
	{
		Triple key(canonical(mVtxToIdx[pT->getCorner(0)], mVtxToIdx[pT->getCorner(1)], mVtxToIdx[pT->getCorner(2)]));
		auto it(mExported.find(key));
		ASSERT_NE(it, mExported.end()) << "triangle missing or not counterclockwise: " << *pT;
		mTriToIdx[pT] = it->second;
	}

	std::set<std::pair<int, int>> sMeshNeighbours;
	for(Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pNeig(pT->getOppositeTriangle(i));
			if(pNeig == nullptr) continue;
			int t0(mTriToIdx[pT]), t1(mTriToIdx[pNeig]);
			sMeshNeighbours.insert(std::make_pair(std::min(t0, t1), std::max(t0, t1)));
		}
	}
	std::vector<std::pair<int, int>> vNeigs;
	ex.extractTriangleNeighborships(vNeigs);
	std::set<std::pair<int, int>> sExportNeighbours;
	for(const std::pair<int, int>& p : vNeigs) sExportNeighbours.insert(std::make_pair(std::min(p.first, p.second), std::max(p.first, p.second)));
	EXPECT_EQ(vNeigs.size(), sExportNeighbours.size()) << "a shared edge reported twice";
	EXPECT_EQ(sExportNeighbours, sMeshNeighbours);
}

void expectSameRecord(const MirelExport& a, const MirelExport& b)
{
	ASSERT_TRUE(a.numPoints == b.numPoints && a.numTriangles == b.numTriangles && a.numCustomIndices == b.numCustomIndices);
	EXPECT_TRUE(std::equal(a.aCoords, a.aCoords + 3 * a.numPoints, b.aCoords));
	EXPECT_TRUE(std::equal(a.aTriangles, a.aTriangles + 3 * a.numTriangles, b.aTriangles));
	EXPECT_TRUE(std::equal(a.aCustomIndices, a.aCustomIndices + a.numCustomIndices, b.aCustomIndices));
}

// A grid makes every cell cocircular; duplicates repeat earlier points.
std::vector<Point2> randomPoints(std::mt19937& rng, size_t n, bool bGrid)
{
	if(bGrid) return mtest::gridPoints(37, int(n / 37), 1.0, 0.0);
	return mtest::withDuplicates(rng, mtest::uniformPoints(rng, n / 2, 0.0, 100.0));
}

// A hand-made record (the arrays are the record's own) for the text formats.
void fillRecord(MirelExport& ex, std::vector<double> vCoords, std::vector<int32_t> vTriangles, std::vector<int32_t> vCustom, int32_t dim)
{
	ex.dim = dim;
	ex.numPoints = int32_t(vCoords.size()) / dim;
	ex.numTriangles = int32_t(vTriangles.size()) / 3;
	ex.numCustomIndices = int32_t(vCustom.size());
	ex.aCoords = new double[vCoords.size()];
	std::copy(vCoords.begin(), vCoords.end(), ex.aCoords);
	ex.aTriangles = new int32_t[vTriangles.size()];
	std::copy(vTriangles.begin(), vTriangles.end(), ex.aTriangles);
	ex.aCustomIndices = vCustom.empty() ? nullptr : new int32_t[vCustom.size()];
	std::copy(vCustom.begin(), vCustom.end(), ex.aCustomIndices);
}

} // namespace

TEST(MirelExport, MatchesTheTriangulationAndTheClearingExportMatchesToo)
{
	std::mt19937 rng(7);
	for(int round = 0; round < 6; ++round)
	{
		SCOPED_TRACE(round);
		std::vector<Point2> vPoints(randomPoints(rng, 200 + 700 * size_t(round), round % 3 == 2));
		Mirel_2D dt(round % 2 == 0 ? 0 : 5000);
		dt.setNumCPU(3);
		dt.setFastMode(round == 4);
		std::vector<Point2*> vHandles;
		dt.insert(vPoints, vHandles);
		// Removals leave dead triangles in the pool and inactive vertex records.
		if(round % 2 == 1)
		{
			std::set<Point2*> sRemoved;
			for(size_t i = 0; i < vHandles.size(); i += 9)
			{
				if(sRemoved.insert(vHandles[i]).second) dt.remove(vHandles[i]);
			}
		}
		bool bWithCustom(round != 3);
		MirelExport exKeep;
		dt.exportTriangulation(exKeep, bWithCustom, false);
		expectExportMatchesMesh(dt, exKeep, bWithCustom);
		if(HasFatalFailure()) return;
		// Triangles of one triangulation: 2n - 2 - h, so about 3n/2 neighbour pairs.
		std::vector<std::pair<int, int>> vNeigs;
		exKeep.extractTriangleNeighborships(vNeigs);
		EXPECT_GT(vNeigs.size(), size_t(exKeep.numTriangles));

		MirelExport exCleared;
		dt.exportTriangulation(exCleared, bWithCustom, true);
		expectSameRecord(exKeep, exCleared);
		EXPECT_TRUE(dt.numberOfPoints() == 0u && dt.numberOfTriangles() == 0u && !dt.hasArea()) << "not cleared";
		EXPECT_TRUE(dt.getImpl()->getNumCPU() == 3 && dt.getImpl()->isFastMode() == (round == 4)) << "settings lost";
		// The emptied object triangulates again.
		dt.insert(vPoints);
		EXPECT_TRUE(dt.checkValidity(true, "after clearing export"));
		MirelExport exAgain;
		dt.exportTriangulation(exAgain, true, false);
		expectExportMatchesMesh(dt, exAgain, true);
	}
}

// OBJ files (six significant digits, 1-based corners; two coordinates per
// vertex write z as 0), the printed record (no custom indices print -1) and
// the writers' messages, all in one golden file.
TEST(MirelExport, ObjAndPrintFormats)
{
	MirelExport ex, ex2D;
	fillRecord(ex, {0, 0, 0, 1.5, 0, 2, 1234567.891, 1, -0.25, 0, 3, 7}, {0, 1, 2, 0, 2, 3}, {10, -1, 12, 13}, 3);
	fillRecord(ex2D, {0, 0, 4, 0, 0, 4}, {0, 1, 2}, {}, 2);
	std::string out(mtest::captureStdout([&] {
		EXPECT_TRUE(ex.writeObj("export_format.obj"));
		ex.print();
		EXPECT_TRUE(ex2D.writeObj("export_2d.obj"));
		ex2D.print();
		EXPECT_FALSE(ex.writeObj("no_such_folder/x.obj"));
	}));
	mtest::expectGolden("export_formats.txt", out + "--- export_format.obj\n" + readFile("export_format.obj") + "--- export_2d.obj\n" + readFile("export_2d.obj"));
}

TEST(Mirel2DShow, DrawsEveryTriangle)
{
	Mirel_2D dtEmpty;
	std::remove("show_empty.ps");
	std::string out(mtest::captureStdout([&] { dtEmpty.show("show_empty.ps", false); }));
	EXPECT_NE(out.find("Dt2::show(), WARNING: The triangulation has no area yet, no visualization"), std::string::npos) << out;
	EXPECT_EQ(std::fopen("show_empty.ps", "r"), nullptr);

	std::vector<Point2> vPoints;
	generateRandomPoints(400, 0.0, 100.0, vPoints, 11);
	Mirel_2D dt;
	dt.insert(vPoints);
	dt.show("show_mesh.ps", true);
	std::string ps(readFile("show_mesh.ps"));
	EXPECT_EQ(mtest::countOf(ps, "closepath"), dt.numberOfTriangles());
	EXPECT_NE(ps.find("%%Title: show_mesh.ps"), std::string::npos);

	// Into the caller's drawing, beside the caller's own objects.
	{
		Visualizer2 vis("show_into.ps");
		vis.addObject(Point2(50, 50, 0), Color(CRED));
		dt.show(&vis, false);
		vis.writeFile();
	}
	std::string into(readFile("show_into.ps"));
	EXPECT_EQ(mtest::countOf(into, "closepath"), dt.numberOfTriangles());
	EXPECT_NE(into.find("1\t0\t0\tsetrgbcolor"), std::string::npos);
}
