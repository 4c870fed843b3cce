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

std::string dataFile(const std::string& name)
{
	return (fs::path(__FILE__).parent_path() / "data" / name).string();
}

// ---------------------------------------------------------------------------
// A reader of the LIST files this library writes: OFF polyhedra and VECT
// objects, each after its own keyword line.

struct OffObject
{
	std::string appearance;
	std::vector<Coords> vVertices;
	std::vector<std::vector<size_t>> vFaces;
	std::vector<std::string> vFaceColors;
};

struct VectObject
{
	std::string appearance;
	std::vector<size_t> vPolylineSizes;
	std::vector<Coords> vVertices;
	std::string color;
};

struct ListFile
{
	std::string head, tail;
	std::vector<OffObject> vOff;
	std::vector<VectObject> vVect;
	std::vector<std::string> vSpheres;
};

Coords readCoords(const std::string& line)
{
	Coords c{};
	std::istringstream in(line);
	in >> c[0] >> c[1] >> c[2];
	EXPECT_FALSE(in.fail()) << line;
	return c;
}

ListFile readList(const std::string& filename)
{
	ListFile list;
	std::vector<std::string> vLines;
	std::istringstream in(readFile(filename));
	for(std::string line; std::getline(in, line);) vLines.push_back(line);
	if(vLines.empty()) return list;
	list.head = vLines.front();
	list.tail = vLines.back();
	for(size_t i = 0; i < vLines.size(); ++i)
	{
		if(vLines[i] == "OFF")
		{
			OffObject off;
			off.appearance = vLines[i - 1];
			size_t numV(0), numF(0), numE(0);
			std::istringstream(vLines[++i]) >> numV >> numF >> numE;
			for(size_t v = 0; v < numV; ++v) off.vVertices.push_back(readCoords(vLines[++i]));
			for(size_t f = 0; f < numF; ++f)
			{
				std::istringstream face(vLines[++i]);
				size_t n(0);
				face >> n;
				std::vector<size_t> vCorners(n);
				for(size_t& c : vCorners) face >> c;
				std::string color;
				std::getline(face, color);
				off.vFaces.push_back(vCorners);
				off.vFaceColors.push_back(color.substr(1));
			}
			EXPECT_EQ("}", vLines[++i]);
			list.vOff.push_back(off);
		}
		else if(vLines[i] == "VECT")
		{
			VectObject vect;
			vect.appearance = vLines[i - 1];
			size_t numPolylines(0), numVertices(0), numColors(0);
			std::istringstream(vLines[++i]) >> numPolylines >> numVertices >> numColors;
			EXPECT_EQ(1u, numColors);
			std::istringstream sizes(vLines[++i]), colors(vLines[++i]);
			size_t sum(0), numColorsSeen(0);
			for(size_t p = 0; p < numPolylines; ++p)
			{
				size_t n(0), c(0);
				sizes >> n;
				colors >> c;
				vect.vPolylineSizes.push_back(n);
				sum += n;
				numColorsSeen += c;
			}
			EXPECT_EQ(numVertices, sum);
			EXPECT_EQ(numColors, numColorsSeen);
			for(size_t v = 0; v < numVertices; ++v) vect.vVertices.push_back(readCoords(vLines[++i]));
			vect.color = vLines[++i];
			EXPECT_EQ("}", vLines[++i]);
			list.vVect.push_back(vect);
		}
		else if(vLines[i].find("{SPHERE") != std::string::npos)
		{
			list.vSpheres.push_back(vLines[i + 1] + " " + vLines[i + 2]);
		}
	}
	return list;
}

// An OBJ reader: vertex lines and 1-based faces.
struct ObjFile
{
	std::vector<Coords> vVertices;
	std::vector<std::array<size_t, 3>> vFaces;
	size_t numOtherLines = 0;
};

ObjFile readObj(const std::string& filename)
{
	ObjFile obj;
	std::istringstream in(readFile(filename));
	for(std::string line; std::getline(in, line);)
	{
		std::istringstream words(line);
		std::string keyword;
		words >> keyword;
		if(keyword == "v")
		{
			Coords c{};
			words >> c[0] >> c[1] >> c[2];
			obj.vVertices.push_back(c);
		}
		else if(keyword == "f")
		{
			std::array<size_t, 3> f{};
			words >> f[0] >> f[1] >> f[2];
			EXPECT_GE(f[0], 1u);
			EXPECT_GE(f[1], 1u);
			EXPECT_GE(f[2], 1u);
			obj.vFaces.push_back(f);
		}
		else ++obj.numOtherLines;
	}
	return obj;
}

// ---------------------------------------------------------------------------
// Comparing a written mesh with the triangulation: triangles as the
// coordinates of corners 0, 1, 2, so a different vertex numbering still
// compares equal while a turned or mixed-up face does not.

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

std::multiset<TriangleCoords> offTriangles(const OffObject& off)
{
	std::multiset<TriangleCoords> ms;
	for(const std::vector<size_t>& f : off.vFaces)
	{
		EXPECT_EQ(3u, f.size());
		EXPECT_TRUE(f[0] < off.vVertices.size() && f[1] < off.vVertices.size() && f[2] < off.vVertices.size());
		if(f.size() == 3 && f[0] < off.vVertices.size() && f[1] < off.vVertices.size() && f[2] < off.vVertices.size())
			ms.insert(TriangleCoords{off.vVertices[f[0]], off.vVertices[f[1]], off.vVertices[f[2]]});
	}
	return ms;
}

std::multiset<TriangleCoords> objTriangles(const ObjFile& obj)
{
	std::multiset<TriangleCoords> ms;
	for(const std::array<size_t, 3>& f : obj.vFaces)
		if(f[0] <= obj.vVertices.size() && f[1] <= obj.vVertices.size() && f[2] <= obj.vVertices.size())
			ms.insert(TriangleCoords{obj.vVertices[f[0] - 1], obj.vVertices[f[1] - 1], obj.vVertices[f[2] - 1]});
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

#define MIREL_NAMED_COLOR(name) {#name, Visualizer3::name}
const std::vector<std::pair<std::string, const char*>> vNamedColors = {MIREL_NAMED_COLOR(CLIGHTBLUE), MIREL_NAMED_COLOR(CDARKBLUE),
	MIREL_NAMED_COLOR(CYELLOW), MIREL_NAMED_COLOR(CPINK), MIREL_NAMED_COLOR(CBLACK), MIREL_NAMED_COLOR(CLIGHTBROWN), MIREL_NAMED_COLOR(CDARKBROWN),
	MIREL_NAMED_COLOR(CORANGE), MIREL_NAMED_COLOR(CPURPLE), MIREL_NAMED_COLOR(CGRAY), MIREL_NAMED_COLOR(CLIGHTGRAY), MIREL_NAMED_COLOR(CRED),
	MIREL_NAMED_COLOR(CGREEN), MIREL_NAMED_COLOR(CWHITE), MIREL_NAMED_COLOR(CRIMSON), MIREL_NAMED_COLOR(CDARKORANGE), MIREL_NAMED_COLOR(CGOLDENROD),
	MIREL_NAMED_COLOR(COLIVE), MIREL_NAMED_COLOR(CLAWNGREEN), MIREL_NAMED_COLOR(CGREENYELLOW), MIREL_NAMED_COLOR(CPALEGREEN),
	MIREL_NAMED_COLOR(CMEDSPRINGGREEN), MIREL_NAMED_COLOR(CLIGHTSEAGREAN), MIREL_NAMED_COLOR(CCYAN), MIREL_NAMED_COLOR(CSTEELBLUE),
	MIREL_NAMED_COLOR(MIDNIGHTBLUE), MIREL_NAMED_COLOR(CWHEAT)};
#undef MIREL_NAMED_COLOR

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

TEST(Visualizer3Colors, TableNamesAndTextsAsStored)
{
	std::ostringstream table;
	for(size_t i = 0; i < vNamedColors.size(); ++i)
	{
		EXPECT_EQ(vNamedColors[i].second, Visualizer3::getColor(int(i))) << vNamedColors[i].first;
		table << i << " " << vNamedColors[i].first << " [" << Visualizer3::getColor(int(i)) << "]\n";
	}
	EXPECT_EQ(readFile(dataFile("visualizer3_colors.txt")), table.str());
	std::string out(captureStdout([] { EXPECT_EQ(nullptr, Visualizer3::getColor(27)); }));
	EXPECT_TRUE(containsMessage(out, "Visualizer3::getColor()", "27"));
	EXPECT_EQ(nullptr, Visualizer3::getColor(-1));
}

TEST(Visualizer3Colors, NextColorSkipsPurpleAndLightGrayAndStartsOver)
{
	rewindCursor();
	std::vector<int> vIndices;
	for(int i = 0; i < 27; ++i) vIndices.push_back(tableIndex(Visualizer3::getNextColor()));
	std::set<int> sDistinct(vIndices.begin(), vIndices.begin() + 25);
	EXPECT_EQ(25u, sDistinct.size());
	EXPECT_EQ(0u, sDistinct.count(8));
	EXPECT_EQ(0u, sDistinct.count(10));
	EXPECT_EQ(0u, sDistinct.count(-1));
	EXPECT_TRUE(std::is_sorted(vIndices.begin(), vIndices.begin() + 25));
	EXPECT_EQ(0, vIndices[25]);
	EXPECT_EQ(1, vIndices[26]);
}

TEST(Visualizer3Colors, NextColorAndNameAlsoSkipsWhiteAndNamesTheColor)
{
	rewindCursor();
	std::set<int> sSeen;
	for(int i = 0; i < 24; ++i)
	{
		const char* name(nullptr);
		int index(tableIndex(Visualizer3::getNextColorAndName(name)));
		ASSERT_GE(index, 0);
		EXPECT_EQ(vNamedColors[size_t(index)].first, name);
		sSeen.insert(index);
	}
	EXPECT_EQ(24u, sSeen.size());
	for(int skipped : {8, 10, 13}) EXPECT_EQ(0u, sSeen.count(skipped));
	// Both functions advance the one cursor: row 0 comes next.
	EXPECT_EQ(Visualizer3::CLIGHTBLUE, Visualizer3::getNextColor());
}

// ---------------------------------------------------------------------------
// LIST files

TEST(Visualizer3List, EmptyListAppearsOnlyWhenClosed)
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
	for(const fs::directory_entry& e : fs::directory_iterator("."))
		EXPECT_EQ(std::string::npos, e.path().filename().string().find("empty.list.tmp")) << e.path();
}

TEST(Visualizer3List, OneTriangleAsStored)
{
	Point2 a(0, 0, 0), b(1, 0, 0.5), c(0, 1, 2);
	Triangle2 t(&a, &b, &c);
	captureStdout([&] {
		Visualizer3 vis("one_triangle.list");
		vis.writeTriangle(t, Visualizer3::CLIGHTBLUE);
	});
	EXPECT_EQ(readFile(dataFile("geomview_one_triangle.list")), readFile("one_triangle.list"));
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
	EXPECT_EQ("LIST", list.head);
	EXPECT_EQ("}", list.tail);
	ASSERT_EQ(2u, list.vOff.size());
	ASSERT_EQ(2u, list.vVect.size());
	for(const OffObject& off : list.vOff)
	{
		// Every vertex once, every triangle with its corners in order.
		EXPECT_EQ(dt.numberOfPoints(), off.vVertices.size());
		EXPECT_EQ(std::set<Coords>(off.vVertices.begin(), off.vVertices.end()).size(), off.vVertices.size());
		EXPECT_EQ(meshTriangles(vT), offTriangles(off));
	}
	EXPECT_NE(std::string::npos, list.vOff[0].appearance.find("+edge material { backdiffuse .151 .0 .2 }"));
	EXPECT_EQ(std::string::npos, list.vOff[1].appearance.find("backdiffuse"));
	EXPECT_EQ(std::vector<std::string>(vT.size(), Visualizer3::CORANGE), list.vOff[0].vFaceColors);

	// The edges: each once (Euler: E = V + F - 1 for a triangulated disc).
	const VectObject& edges(list.vVect[0]);
	EXPECT_EQ(Visualizer3::CLAWNGREEN, edges.color);
	EXPECT_EQ(dt.numberOfPoints() + vT.size() - 1, edges.vPolylineSizes.size());
	std::set<std::pair<Coords, Coords>> sEdges, sMeshEdges;
	for(size_t i = 0; i + 1 < edges.vVertices.size(); i += 2) sEdges.insert(std::minmax(edges.vVertices[i], edges.vVertices[i + 1]));
	for(Triangle2* pT : vT)
		for(int i = 0; i < 3; ++i) sMeshEdges.insert(std::minmax(coordsOf(pT->getCorner(i)), coordsOf(pT->getCorner((i + 1) % 3))));
	EXPECT_EQ(sMeshEdges, sEdges);

	// Normals: from the centroid, 2.5 long, perpendicular to the triangle, upwards.
	const VectObject& normals(list.vVect[1]);
	EXPECT_EQ(Visualizer3::CLIGHTSEAGREAN, normals.color);
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

TEST(Visualizer3List, SegmentsPointsBallsAndCubesReadBack)
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
	ListFile list(readList("mixed.list"));
	ASSERT_EQ(3u, list.vVect.size());
	EXPECT_EQ((std::vector<size_t>{2, 2}), list.vVect[0].vPolylineSizes);
	EXPECT_EQ((std::vector<Coords>{{0, 0, 1}, {2, 0, 1}, {2, 0, 1}, {2, 3, 4}}), list.vVect[0].vVertices);
	EXPECT_EQ((std::vector<size_t>{1, 1, 1, 1}), list.vVect[1].vPolylineSizes);
	EXPECT_EQ(list.vVect[0].vVertices, list.vVect[1].vVertices);
	EXPECT_EQ("appearance{linewidth 5}", list.vVect[2].appearance);
	EXPECT_EQ((std::vector<Coords>{{1, 2, 3}}), list.vVect[2].vVertices);
	EXPECT_EQ(Visualizer3::CGREEN, list.vVect[2].color);
	ASSERT_EQ(1u, list.vSpheres.size());
	EXPECT_EQ("0.5 5 6 7", list.vSpheres[0]);
	// Two boxes of six outward quadrilaterals; the triangle with a NaN corner is left out.
	ASSERT_EQ(3u, list.vOff.size());
	for(size_t c = 0; c < 2; ++c)
	{
		const OffObject& box(list.vOff[c]);
		ASSERT_EQ(8u, box.vVertices.size());
		ASSERT_EQ(6u, box.vFaces.size());
		Coords mid{0, 0, 0};
		for(const Coords& v : box.vVertices)
			for(int d = 0; d < 3; ++d) mid[d] += v[d] / 8;
		std::set<size_t> sUsed;
		for(const std::vector<size_t>& f : box.vFaces)
		{
			ASSERT_EQ(4u, f.size());
			sUsed.insert(f.begin(), f.end());
			const Coords& a(box.vVertices[f[0]]);
			const Coords& b(box.vVertices[f[1]]);
			const Coords& d(box.vVertices[f[3]]);
			Vector2 normal(crossProduct(Vector2(b[0] - a[0], b[1] - a[1], b[2] - a[2]), Vector2(d[0] - a[0], d[1] - a[1], d[2] - a[2])));
			EXPECT_GT(normal * Vector2(a[0] - mid[0], a[1] - mid[1], a[2] - mid[2]), 0.0) << "face turned inwards";
		}
		EXPECT_EQ(8u, sUsed.size());
	}
	EXPECT_EQ(0u, list.vOff[2].vFaces.size());
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
	ObjFile obj(readObj("terrain.obj"));
	EXPECT_EQ(0u, obj.numOtherLines);
	EXPECT_EQ(dt.numberOfPoints(), obj.vVertices.size());
	// Doubles come back bit for bit, faces counterclockwise as in the mesh.
	EXPECT_EQ(meshTriangles(vT), objTriangles(obj));
	for(const std::array<size_t, 3>& f : obj.vFaces)
	{
		const Coords& a(obj.vVertices[f[0] - 1]);
		const Coords& b(obj.vVertices[f[1] - 1]);
		const Coords& c(obj.vVertices[f[2] - 1]);
		EXPECT_EQ(1, mtest::exactOrientation(Point2(a[0], a[1], a[2]), Point2(b[0], b[1], b[2]), Point2(c[0], c[1], c[2])));
	}

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
	ObjFile zoneObj(readObj("zone.obj"));
	EXPECT_EQ(meshTriangles(vZoneT), objTriangles(zoneObj));
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
	size_t n(0);
	for(const fs::directory_entry& e : fs::directory_iterator(dir))
	{
		(void)e;
		++n;
	}
	return n;
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
	EXPECT_EQ(meshTriangles(vT), objTriangles(readObj("web_scene/nested/3d.obj")));
	EXPECT_EQ(6u, countEntries("web_scene/nested"));
	// The page's render modes and help, as users know them.
	std::string page(readFile("web_scene/nested/index.html"));
	for(const char* part : {"id=\"cv\" width=\"1000\" height=\"680\"", "id=\"render_mode_list\"", "<option>smooth</option>", "<option>flat</option>",
			"<option>points</option>", "<option>wireframe</option>", "Drag mouse to rotate, use SHIFT to <br> zoom and CTRL to translate",
			"<script src=\"three.min.js\"></script>", "<script src=\"OrbitControls.js\"></script>", "<script src=\"mesh.js\"></script>"})
		EXPECT_NE(std::string::npos, page.find(part)) << part;

	// The mesh script: counts, the centre in doubles, then base64 data.
	std::string script(readFile("web_scene/nested/mesh.js"));
	EXPECT_NE(std::string::npos, script.find("\"numTriangles\": " + std::to_string(vT.size()) + ",\n"));
	EXPECT_NE(std::string::npos, script.find("\"numVertices\": " + std::to_string(dt.numberOfPoints()) + ",\n"));
	size_t at(script.find("\"indices\": \""));
	ASSERT_NE(std::string::npos, at);
	size_t end(script.find('"', at + 12));
	EXPECT_EQ(4 * ((12 * vT.size() + 2) / 3), end - at - 12) << "base64 length of 3 x 32-bit indices per triangle";

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
