// Geomview LIST files (golden files), OBJ meshes read back by a reader of
// their own (the same coordinates and faces as the mesh), and files that
// appear complete or not at all.
#include "Mirel25D.h"
#include "test_support.h"
#include <array>
#include <filesystem>
#include <map>
#include <set>

namespace {
using namespace MIREL25D;
using mtest::captureStdout;
using mtest::readFile;
namespace fs = std::filesystem;

typedef std::array<double, 3> Coords;

// ---------------------------------------------------------------------------
// A reader of the OBJ files this library writes: "v" lines and 1-based "f" lines.

struct SceneObject
{
	std::vector<Coords> vVertices;
	std::vector<std::vector<size_t>> vFaces;
};

SceneObject readObj(const std::string& filename)
{
	SceneObject obj;
	std::istringstream in(readFile(filename));
	for(std::string line; std::getline(in, line);)
	{
		std::istringstream words(line);
		std::string keyword;
		Coords c{};
		words >> keyword >> c[0] >> c[1] >> c[2];
		EXPECT_TRUE(keyword == "v" || keyword == "f") << line;
		if(keyword == "v") obj.vVertices.push_back(c);
		else obj.vFaces.push_back({size_t(c[0]) - 1, size_t(c[1]) - 1, size_t(c[2]) - 1});
	}
	return obj;
}

// Triangles as the coordinates of corners 0, 1, 2: another vertex numbering
// still compares equal, a turned or mixed-up face does not.
typedef std::array<Coords, 3> TriangleCoords;

Coords coordsOf(const Point2* p)
{
	return Coords{p->x(), p->y(), p->z()};
}

std::multiset<TriangleCoords> meshTriangles(const std::vector<Triangle2*>& vT)
{
	std::multiset<TriangleCoords> ms;
	for(Triangle2* pT : vT) ms.insert(TriangleCoords{coordsOf(pT->getCorner(0)), coordsOf(pT->getCorner(1)), coordsOf(pT->getCorner(2))});
	return ms;
}

std::multiset<TriangleCoords> fileTriangles(const SceneObject& object)
{
	std::multiset<TriangleCoords> ms;
	for(const std::vector<size_t>& f : object.vFaces)
	{
		EXPECT_EQ(3u, f.size());
		const std::vector<Coords>& v(object.vVertices);
		if(f.size() == 3 && f[0] < v.size() && f[1] < v.size() && f[2] < v.size()) ms.insert(TriangleCoords{v[f[0]], v[f[1]], v[f[2]]});
		else ADD_FAILURE() << "face with a bad corner index";
	}
	return ms;
}

// Points whose coordinates have few digits, so that the 15 digits of the
// LIST file give them back exactly.
void insertShortDecimalPoints(Mirel_2D& dt, size_t num, unsigned seed)
{
	std::mt19937 rng(seed);
	std::uniform_int_distribution<int> coord(0, 40000), height(-800, 800);
	std::vector<Point2> vPoints;
	for(size_t i = 0; i < num; ++i) vPoints.push_back(Point2(coord(rng) * 0.25, coord(rng) * 0.25, height(rng) * 0.125));
	dt.insert(vPoints);
}

bool containsMessage(const std::string& out, const std::string& place, const std::string& text)
{
	return out.find("[Mirel2D-Message] " + place) != std::string::npos && out.find(text) != std::string::npos;
}

// ---------------------------------------------------------------------------
// LIST files

TEST(Visualizer3List, ListAppearsOnlyWhenComplete)
{
	fs::remove("empty.list");
	std::string out(captureStdout([] {
		Visualizer3 vis("empty.list");
		EXPECT_FALSE(fs::exists("empty.list"));
		vis.closeFile();
		EXPECT_TRUE(fs::exists("empty.list"));
		vis.closeFile();
	}));
	EXPECT_EQ("Visualizer3: Writing empty.list\n", out);
	EXPECT_EQ("LIST\n}\n", readFile("empty.list"));
	// A scope left by an exception drops its unfinished file.
	fs::remove("unfinished.list");
	captureStdout([] {
		try
		{
			Visualizer3 vis("unfinished.list");
			vis.writeTriangle(Point2(0, 0, 0), Point2(1, 0, 0), Point2(0, 1, 0), Visualizer3::CRED);
			throw std::runtime_error("interrupted");
		}
		catch(const std::runtime_error&)
		{}
	});
	EXPECT_FALSE(fs::exists("unfinished.list"));
	for(const fs::directory_entry& e : fs::directory_iterator("."))
		EXPECT_EQ(std::string::npos, e.path().filename().string().find(".list.tmp")) << e.path();
}

TEST(Visualizer3List, OneTriangleAsStored)
{
	Point2 a(0, 0, 0), b(1, 0, 0.5), c(0, 1, 2);
	Triangle2 t(&a, &b, &c);
	captureStdout([&] {
		Visualizer3 vis("one_triangle.list");
		vis.writeTriangle(t, Visualizer3::CLIGHTBLUE);
	});
	mtest::expectGolden("geomview_one_triangle.list", readFile("one_triangle.list"));
	// The same through the facade, whichever corner the triangulation puts first.
	Mirel_2D dt;
	dt.insert(std::vector<Point2>{a, b, c});
	captureStdout([&] { dt.showGeomview("one_triangle_dt.list", Visualizer3::CLIGHTBLUE); });
	std::string text(readFile("one_triangle_dt.list"));
	EXPECT_NE(std::string::npos, text.find("\n3 1 0\n"));
	EXPECT_NE(std::string::npos, text.find("\n3 0 1 2 0 0.749 1 0.5\n"));
}

// Segments, points, a ball and cubes (outward faces; a count that is no
// multiple of 8 refused), and a triangle with a NaN corner left out.
TEST(Visualizer3List, SegmentsPointsBallsAndCubesAsStored)
{
	std::vector<Segment2> vSegments{Segment2(Point2(0, 0, 1), Point2(2, 0, 1)), Segment2(Point2(2, 0, 1), Point2(2, 3, 4))};
	std::vector<Point2> vCube;
	for(double z : {0.0, 2.0})
		for(const std::pair<double, double>& xy : std::vector<std::pair<double, double>>{{0, 0}, {2, 0}, {2, 2}, {0, 2}}) vCube.push_back(Point2(xy.first, xy.second, z));
	std::vector<Point2> vTwoCubes(vCube);
	for(const Point2& p : vCube) vTwoCubes.push_back(Point2(p.x() + 10, p.y(), p.z()));
	Point2 centre(5, 6, 7);
	std::string out(captureStdout([&] {
		Visualizer3 vis("mixed.list");
		vis.writeSegments(vSegments, Visualizer3::CRED, true);
		vis.writePoints(std::vector<Point2>(), 3, Visualizer3::CRED);
		vis.writePoint(Point2(1, 2, 3), 5, Visualizer3::CGREEN);
		vis.writeBall(centre, 0.5);
		vis.writeCubes(std::vector<Point2>(vCube.begin(), vCube.begin() + 7), Visualizer3::CBLACK);
		vis.writeCubes(vTwoCubes, Visualizer3::CWHEAT);
		vis.writeTriangle(Point2(0, 0, 0), Point2(1, 0, 0), Point2(0, 1, std::nan("")), Visualizer3::CRED);
	}));
	EXPECT_NE(std::string::npos, out.find("Visualizer3::writePoints: no points"));
	EXPECT_TRUE(containsMessage(out, "Visualizer3::writeCubes()", "vPoints.size() must be a multiple of 8"));
	EXPECT_TRUE(containsMessage(out, "Visualizer3::writeTriangles()", "non-finite"));
	mtest::expectGolden("visualizer3_mixed.list", readFile("mixed.list"));
}

// ---------------------------------------------------------------------------
// OBJ meshes

TEST(SceneObj, TerrainAndZoneReadBackExactly)
{
	Mirel_2D dt(2000);
	std::vector<Point2> vPoints;
	generateRandomPoints3D(2000, 1000.0, 2000.0, vPoints, 5);
	dt.insert(vPoints);
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	captureStdout([&] { dt.writeObj("terrain.obj"); });
	SceneObject obj(readObj("terrain.obj"));
	EXPECT_EQ(dt.numberOfPoints(), obj.vVertices.size());
	// Doubles come back bit for bit, the corners in the mesh's counterclockwise order.
	EXPECT_EQ(meshTriangles(vT), fileTriangles(obj));

	std::vector<Segment2> vSquare;
	std::vector<Point2> vCorners{Point2(1200, 1200, 0), Point2(1700, 1200, 0), Point2(1700, 1700, 0), Point2(1200, 1700, 0)};
	for(size_t i = 0; i < 4; ++i) vSquare.push_back(Segment2(vCorners[i], vCorners[(i + 1) % 4]));
	Zone2* pZone(dt.createZone(dt.createConstraint(vSquare, CIS_CONSTRAINED_DELAUNAY, true), ZL_INSIDE));
	ASSERT_NE(nullptr, pZone);
	std::vector<Triangle2*> vZoneT;
	pZone->getTriangles(vZoneT);
	captureStdout([&] {
		dt.writeObj("zone_facade.obj", pZone);
		pZone->writeObj("zone.obj");
	});
	EXPECT_EQ(readFile("zone.obj"), readFile("zone_facade.obj"));
	SceneObject zoneObj(readObj("zone.obj"));
	EXPECT_EQ(meshTriangles(vZoneT), fileTriangles(zoneObj));
	std::vector<Point2*> vZoneVertices;
	pZone->getVertices(vZoneVertices);
	EXPECT_EQ(vZoneVertices.size(), zoneObj.vVertices.size());
}

TEST(SceneObj, NoAreaWritesNothing)
{
	Mirel_2D dt;
	dt.insert(std::vector<Point2>{Point2(0, 0, 0), Point2(1, 1, 0), Point2(2, 2, 0)});
	for(const char* name : {"flat.obj", "flat.list", "flat_scene"}) fs::remove_all(name);
	std::string out(captureStdout([&] {
		dt.writeObj("flat.obj");
		dt.showGeomview("flat.list", Visualizer3::CRED);
		dt.writeWebScene("flat_scene");
	}));
	EXPECT_EQ(3u, mtest::countOf(out, "Dt2::show(), WARNING: The triangulation has no area yet, no visualization"));
	for(const char* name : {"flat.obj", "flat.list", "flat_scene"}) EXPECT_FALSE(fs::exists(name)) << name;
}

// ---------------------------------------------------------------------------
// Unwritable targets: the message, and nothing left behind

size_t countEntries(const std::string& dir)
{
	return size_t(std::distance(fs::directory_iterator(dir), fs::directory_iterator()));
}

TEST(SceneFiles, UnwritableTargetsLeaveNothingBehind)
{
	Mirel_2D dt;
	insertShortDecimalPoints(dt, 50, 3);
	Zone2* pZone(dt.createZone(nullptr, ZL_GLOBAL));
	ASSERT_NE(nullptr, pZone);
	fs::remove_all("blocked");
	fs::create_directories("blocked");
	{
		std::ofstream("blocked/plain_file") << "x";
	}
	fs::create_directories("blocked/scene/mesh.js"); // a directory where the mesh script belongs
	std::string out(captureStdout([&] {
		dt.writeObj("blocked/missing/terrain.obj");
		pZone->writeObj("blocked/missing/zone.obj");
		Visualizer3 vis("blocked/missing/scene.list");
		vis.writeTriangle(Point2(0, 0, 0), Point2(1, 0, 0), Point2(0, 1, 0), Visualizer3::CRED);
		vis.closeFile();
		dt.writeWebScene("blocked/plain_file/scene");
		fileReplicate("index.html", "blocked/missing/index.html");
		fileReplicate("jsc3d.js", "blocked");
	}));
	// The scene fails as a whole: the files before the failing one are not left in place.
	out += captureStdout([&] { dt.writeWebScene("blocked/scene"); });
	mtest::expectGolden("scene_unwritable.txt", out);
	EXPECT_EQ(1u, countEntries("blocked/scene"));
	EXPECT_EQ(2u, countEntries("blocked"));
}

// ---------------------------------------------------------------------------
// The scene directory

} // namespace
