// Geomview LIST files, OBJ meshes and the scene directory, read back by
// readers of their own: the same coordinates and faces as the mesh, the
// colour rules, and files that appear complete or not at all.
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
// Readers of the files this library writes. LIST: OFF polyhedra and VECT
// objects, each after its keyword line; a face is its corner indices and
// its colour text. OBJ: "v" lines and 1-based "f" lines.

struct SceneObject
{
	std::string appearance;
	std::vector<Coords> vVertices;
	std::vector<std::vector<size_t>> vFaces; // OFF faces; VECT polylines by their vertex counts
	std::vector<std::string> vColors;        // OFF: one per face; VECT: one
};

struct ListFile
{
	std::vector<std::string> vLines;
	std::vector<SceneObject> vOff, vVect;
};

ListFile readList(const std::string& filename)
{
	ListFile list;
	std::istringstream in(readFile(filename));
	for(std::string line; std::getline(in, line);) list.vLines.push_back(line);
	const std::vector<std::string>& vLines(list.vLines);
	auto readCoords = [&](size_t n, SceneObject& object, size_t& i) {
		for(size_t v = 0; v < n; ++v)
		{
			Coords c{};
			std::istringstream(vLines.at(++i)) >> c[0] >> c[1] >> c[2];
			object.vVertices.push_back(c);
		}
	};
	for(size_t i = 1; i < vLines.size(); ++i)
	{
		SceneObject object;
		object.appearance = vLines[i - 1];
		size_t numVertices(0), numObjects(0), numColors(0);
		if(vLines[i] == "OFF")
		{
			std::istringstream(vLines.at(++i)) >> numVertices >> numObjects;
			readCoords(numVertices, object, i);
			for(size_t f = 0; f < numObjects; ++f)
			{
				std::istringstream face(vLines.at(++i));
				std::vector<size_t> vCorners;
				face >> numVertices;
				vCorners.resize(numVertices);
				for(size_t& c : vCorners) face >> c;
				std::string color;
				std::getline(face, color);
				object.vFaces.push_back(vCorners);
				object.vColors.push_back(color.substr(1));
			}
			list.vOff.push_back(object);
		}
		else if(vLines[i] == "VECT")
		{
			std::istringstream(vLines.at(++i)) >> numObjects >> numVertices >> numColors;
			std::istringstream sizes(vLines.at(++i)), colors(vLines.at(++i));
			size_t sum(0), colorSum(0);
			for(size_t p = 0; p < numObjects; ++p)
			{
				size_t n(0), c(0);
				sizes >> n;
				colors >> c;
				object.vFaces.push_back(std::vector<size_t>(1, n));
				sum += n;
				colorSum += c;
			}
			EXPECT_EQ(numVertices, sum);
			EXPECT_EQ(1u, numColors);
			EXPECT_EQ(1u, colorSum);
			readCoords(numVertices, object, i);
			object.vColors.push_back(vLines.at(++i));
			list.vVect.push_back(object);
		}
		else
			continue;
		EXPECT_EQ("}", vLines.at(++i)) << "object not closed";
	}
	return list;
}

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
// Colours

int tableIndex(const char* color)
{
	for(int i = 0; i < 27; ++i)
		if(Visualizer3::getColor(i) == color) return i;
	return -1;
}

// The cursor is shared by the whole process: move it until row 0 comes next.
void rewindCursor()
{
	for(int i = 0; i < 60 && std::string(Visualizer3::getNextColor()) != Visualizer3::CWHEAT; ++i) {}
}

TEST(Visualizer3Colors, TableTextsAsStored)
{
	std::ostringstream table;
	for(int i = 0; i < 27; ++i) table << i << " [" << Visualizer3::getColor(i) << "]\n";
	mtest::expectGolden("visualizer3_colors.txt", table.str());
	std::string out(captureStdout([] { EXPECT_EQ(nullptr, Visualizer3::getColor(27)); }));
	EXPECT_TRUE(containsMessage(out, "Visualizer3::getColor()", "27"));
	EXPECT_EQ(nullptr, Visualizer3::getColor(-1));
}

TEST(Visualizer3Colors, CursorSkipsItsColorsAndStartsOver)
{
	// getNextColor: 25 distinct colours in table order without 8 and 10, then row 0 again.
	rewindCursor();
	std::vector<int> vIndices;
	for(int i = 0; i < 26; ++i) vIndices.push_back(tableIndex(Visualizer3::getNextColor()));
	std::set<int> sDistinct(vIndices.begin(), vIndices.begin() + 25);
	EXPECT_EQ(25u, sDistinct.size());
	EXPECT_TRUE(std::is_sorted(vIndices.begin(), vIndices.begin() + 25));
	for(int skipped : {-1, 8, 10}) EXPECT_EQ(0u, sDistinct.count(skipped));
	EXPECT_EQ(0, vIndices[25]);
	// getNextColorAndName shares the cursor, also skips 13 and names each colour.
	std::set<int> sNamed;
	std::set<std::string> sNames;
	for(int i = 0; i < 23; ++i)
	{
		const char* name(nullptr);
		int index(tableIndex(Visualizer3::getNextColorAndName(name)));
		ASSERT_GE(index, 1);
		ASSERT_NE(name, nullptr);
		sNames.insert(name);
		sNamed.insert(index);
	}
	EXPECT_EQ(23u, sNamed.size());
	EXPECT_EQ(23u, sNames.size());
	for(int skipped : {8, 10, 13}) EXPECT_EQ(0u, sNamed.count(skipped));
	EXPECT_EQ(Visualizer3::CLIGHTBLUE, Visualizer3::getNextColor());
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

TEST(Visualizer3List, TerrainTrianglesEdgesAndNormalsReadBack)
{
	Mirel_2D dt(3000);
	insertShortDecimalPoints(dt, 3000, 11);
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	captureStdout([&] {
		Visualizer3 vis("terrain.list");
		vis.writeTriangles(vT, Visualizer3::CORANGE, true);
		vis.setBackfaces(false);
		vis.writeTriangles(vT, Visualizer3::CRED, false);
		vis.writeNormals(vT, 2.5);
	});
	ListFile list(readList("terrain.list"));
	EXPECT_EQ("LIST", list.vLines.front());
	EXPECT_EQ("}", list.vLines.back());
	ASSERT_EQ(2u, list.vOff.size());
	ASSERT_EQ(2u, list.vVect.size());
	for(const SceneObject& off : list.vOff)
	{
		// Every vertex once, every triangle with its corners in order.
		EXPECT_EQ(dt.numberOfPoints(), off.vVertices.size());
		EXPECT_EQ(std::set<Coords>(off.vVertices.begin(), off.vVertices.end()).size(), off.vVertices.size());
		EXPECT_EQ(meshTriangles(vT), fileTriangles(off));
	}
	EXPECT_NE(std::string::npos, list.vOff[0].appearance.find("+edge material { backdiffuse .151 .0 .2 }"));
	EXPECT_EQ(std::string::npos, list.vOff[1].appearance.find("backdiffuse"));
	EXPECT_EQ(std::vector<std::string>(vT.size(), Visualizer3::CORANGE), list.vOff[0].vColors);

	// The edges: each once (Euler: E = V + F - 1 for a triangulated disc).
	const SceneObject& edges(list.vVect[0]);
	EXPECT_EQ(Visualizer3::CLAWNGREEN, edges.vColors[0]);
	EXPECT_EQ(dt.numberOfPoints() + vT.size() - 1, edges.vFaces.size());
	std::set<std::pair<Coords, Coords>> sEdges, sMeshEdges;
	for(size_t i = 0; i + 1 < edges.vVertices.size(); i += 2) sEdges.insert(std::minmax(edges.vVertices[i], edges.vVertices[i + 1]));
	for(Triangle2* pT : vT)
		for(int i = 0; i < 3; ++i) sMeshEdges.insert(std::minmax(coordsOf(pT->getCorner(i)), coordsOf(pT->getCorner((i + 1) % 3))));
	EXPECT_EQ(sMeshEdges, sEdges);

	// Normals: from the centroid, 2.5 long, perpendicular to the triangle, upwards.
	const SceneObject& normals(list.vVect[1]);
	EXPECT_EQ(Visualizer3::CLIGHTSEAGREAN, normals.vColors[0]);
	ASSERT_EQ(2 * vT.size(), normals.vVertices.size());
	for(size_t t = 0; t < vT.size(); ++t)
	{
		const Coords& a(normals.vVertices[2 * t]);
		const Coords& b(normals.vVertices[2 * t + 1]);
		Vector2 n(b[0] - a[0], b[1] - a[1], b[2] - a[2]);
		EXPECT_NEAR(2.5, n.length(), 1e-9);
		EXPECT_GT(n.z(), 0.0);
		for(int i = 0; i < 3; ++i)
		{
			const Point2* p(vT[t]->getCorner(i));
			const Point2* q(vT[t]->getCorner((i + 1) % 3));
			Vector2 edge(q->x() - p->x(), q->y() - p->y(), q->z() - p->z());
			EXPECT_NEAR(0.0, n * edge / edge.length(), 1e-9);
		}
	}
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
	EXPECT_TRUE(containsMessage(out, "Dt2::writeObj()", "File [blocked/missing/terrain.obj] can't be opened"));
	EXPECT_TRUE(containsMessage(out, "Zone2::writeObj()", "File [blocked/missing/zone.obj] can't be opened"));
	EXPECT_TRUE(containsMessage(out, "Visualizer3::openFile()", "blocked/missing/scene.list not writeable"));
	EXPECT_TRUE(containsMessage(out, "Dt2::writeWebScene()", "Can't create directory blocked/plain_file/scene"));
	EXPECT_TRUE(containsMessage(out, "fileReplicate", "Can't write blocked/missing/index.html"));
	EXPECT_TRUE(containsMessage(out, "fileReplicate", "unknown file"));
	EXPECT_EQ(std::string::npos, out.find("writeWebScene: Creating"));
	EXPECT_EQ(1u, countEntries("blocked"));

	// A directory where the mesh script belongs: the scene fails as a whole,
	// the files before it are not left in place.
	fs::create_directories("blocked/scene/mesh.js");
	out = captureStdout([&] { dt.writeWebScene("blocked/scene"); });
	EXPECT_TRUE(containsMessage(out, "Dt2::writeWebScene()", "Can't write the scene into blocked/scene"));
	EXPECT_EQ(1u, countEntries("blocked/scene"));
}

// ---------------------------------------------------------------------------
// The scene directory

TEST(SceneFiles, WebSceneAndStoredTexts)
{
	Mirel_2D dt;
	insertShortDecimalPoints(dt, 300, 8);
	fs::remove_all("web_scene");
	std::string out(captureStdout([&] { dt.writeWebScene("web_scene/nested"); }));
	EXPECT_NE(std::string::npos, out.find("writeWebScene: Creating web_scene/nested\n"));
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	EXPECT_EQ(meshTriangles(vT), fileTriangles(readObj("web_scene/nested/3d.obj")));
	EXPECT_EQ(6u, countEntries("web_scene/nested"));
	std::string page(readFile("web_scene/nested/index.html"));

	// fileReplicate: into a directory under the stored name, or to a file;
	// the stored viewer is the installed three.js byte for byte.
	fs::create_directories("replicated");
	captureStdout([] {
		fileReplicate("three.min.js", "replicated");
		fileReplicate("OrbitControls.js", "replicated/controls.js");
		fileReplicate("index.html", "replicated");
	});
	EXPECT_EQ(readFile(std::string(MIREL_THREEJS_DIR) + "/three.min.js"), readFile("replicated/three.min.js"));
	EXPECT_EQ(readFile(std::string(MIREL_THREEJS_DIR) + "/examples/js/controls/OrbitControls.js"), readFile("replicated/controls.js"));
	EXPECT_EQ(page, readFile("replicated/index.html"));
	EXPECT_TRUE(createDirectory("replicated"));
	EXPECT_FALSE(createDirectory("replicated/controls.js"));
}

} // namespace
