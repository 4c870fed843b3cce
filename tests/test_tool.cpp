// The command-line tool, run as a separate process: every kind of bad input
// ends with one error line that names the file, a non-zero exit status and no
// result file; good runs write a mesh that matches the input and a drawing
// that Ghostscript renders.
#include "Point2.h"
#include "freeFunctions.h"
#include "test_support.h"
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

using namespace MIREL25D;
namespace fs = std::filesystem;

namespace {

struct RunResult
{
	int exitCode = -1;
	std::string out, err;
};

RunResult runTool(const std::string& args)
{
	RunResult r;
#ifdef MIREL_TOOL_PATH
	// ctest runs the tests of this folder in parallel processes.
	std::string outFile("tool_stdout_" + std::to_string(getpid()) + ".txt"), errFile("tool_stderr_" + std::to_string(getpid()) + ".txt");
	std::string cmd(std::string("'") + MIREL_TOOL_PATH + "' " + args + " > " + outFile + " 2> " + errFile);
	int status(std::system(cmd.c_str()));
	r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
	r.out = mtest::readFile(outFile);
	r.err = mtest::readFile(errFile);
	std::remove(outFile.c_str());
	std::remove(errFile.c_str());
#else
	static_cast<void>(args);
#endif
	return r;
}

void writeBytes(const std::string& name, const std::string& bytes)
{
	std::ofstream out(name, std::ios::binary | std::ios::trunc);
	out << bytes;
}

template<class T>
void appendRaw(std::string& s, T value)
{
	s.append(reinterpret_cast<const char*>(&value), sizeof(T));
}

std::string binaryPoints(int32_t type, int64_t count, const std::vector<double>& vValues)
{
	std::string s;
	appendRaw(s, type);
	appendRaw(s, count);
	for(double v : vValues) appendRaw(s, v);
	return s;
}

// Nothing but the folder itself: no result, no staging leftovers.
bool folderIsEmpty(const std::string& folder)
{
	std::error_code ec;
	return !fs::exists(folder, ec) || fs::is_empty(folder, ec);
}

size_t countLinesStartingWith(const std::string& text, const std::string& prefix)
{
	std::istringstream in(text);
	std::string line;
	size_t n(0);
	while(std::getline(in, line))
	{
		if(line.compare(0, prefix.size(), prefix) == 0) ++n;
	}
	return n;
}

// Each case: exit status and the one error line, against a golden file; no
// result and no staging leftovers in the output folder.
void expectErrorCases(const std::vector<std::string>& vArgs, const std::string& golden)
{
	std::string text;
	for(const std::string& args : vArgs)
	{
		fs::remove_all("tool_err_out");
		RunResult r(runTool(args + (args.find(" -o ") == std::string::npos ? " -o tool_err_out -q" : " -q")));
		text += "$ mirel " + args + "\nexit " + std::to_string(r.exitCode) + ": " + r.err;
		for(size_t pos; (pos = text.find(MIREL_TEST_DATA_DIR)) != std::string::npos;) text.replace(pos, std::strlen(MIREL_TEST_DATA_DIR), "DATA");
		EXPECT_EQ(countLinesStartingWith(r.err, ""), 1u) << args << "\n" << r.err;
		EXPECT_TRUE(folderIsEmpty("tool_err_out")) << args;
	}
	mtest::expectGolden(golden, text);
}

// The number after "key": in a JSON object; NaN if the key is missing.
double jsonNumber(const std::string& json, const std::string& key)
{
	size_t pos(json.find("\"" + key + "\": "));
	return pos == std::string::npos ? std::nan("") : std::strtod(json.c_str() + pos + key.size() + 4, nullptr);
}

std::string dataFile(const std::string& name)
{
	return std::string(MIREL_TEST_DATA_DIR) + "/" + name;
}

// Survey points (eastings near 5e5, northings near 5e6, millimetres) over a
// 50 m square, its corners included, at height z plus dz x (x - 500000).
std::vector<Point2> surveyPoints(double z, double dz, double shiftX)
{
	std::vector<Point2> v = {Point2(500000, 5000000, z), Point2(500050, 5000000, z + 50 * dz), Point2(500000, 5000050, z), Point2(500050, 5000050, z + 50 * dz)};
	std::vector<Point2> vRandom;
	generateRandomPoints(300, 0.0, 50.0, vRandom, 5);
	for(const Point2& p : vRandom) v.push_back(Point2(500000 + std::round(p.x() * 1000) / 1000, 5000000 + std::round(p.y() * 1000) / 1000, 0));
	for(Point2& p : v) p = Point2(p.x() + shiftX, p.y(), z + dz * (p.x() - 500000));
	return v;
}

} // namespace

class MirelTool : public testing::Test
{
protected:
	void SetUp() override
	{
#ifndef MIREL_TOOL_PATH
		GTEST_SKIP() << "the tool is not built (MIREL25D_BUILD_APPS=OFF)";
#endif
		writePointsASCII("tool_s10.xyz", surveyPoints(10.0, 0.0, 0.0));
		writePointsASCII("tool_slope.xyz", surveyPoints(5.0, 0.1, 0.0));
		writePointsASCII("tool_far.xyz", surveyPoints(10.0, 0.0, 1000.0));
	}
	static bool haveGdal()
	{
		return runTool("info " + dataFile("tool_site.geojson")).err.find("without GDAL") == std::string::npos;
	}
};

TEST_F(MirelTool, BadInputGivesOneErrorLineNamingTheFileAndNoResult)
{
	writeBytes("tool_wrongtype.bin", binaryPoints(25, 1, {1, 2, 3}));
	writeBytes("tool_truncated.bin", binaryPoints(30, 3, {0, 0, 0, 1, 0, 0, 0}));
	writeBytes("tool_nonnumber.xyz", "0 0 1\n1 0 2\n0 1 x3\n");
	writeBytes("tool_halfpoint.txt", "0 0 1\n1 0 2\n0 1\n");
	writeBytes("tool_collinear.xy", "0 0\n1 1\n2 2\n3 3\n");
	writeBytes("tool_plainfile", "not a folder");
	expectErrorCases({"tool_missing.xyz", "--input tool_wrongtype.bin", "tool_truncated.bin", "tool_nonnumber.xyz", "--format xyz tool_halfpoint.txt",
						 "tool_collinear.xy", "-n 50 -o tool_plainfile/sub", "triangulate --no-such-option", "trinagulate", "-n 12x",
						 "mesh tool_s10.xyz", "mesh tool_s10.xyz --boundary b.gpkg --min-angle 31", "contours tool_s10.xyz",
						 "contours tool_s10.xyz --interval 1 --heights 3", "contours tool_slope.xyz --interval 1e-9", "height tool_s10.xyz",
						 "drape tool_s10.xyz --lines l.gpkg --tolerance -1", "volume tool_s10.xyz", "info", "info a.xyz b.xyz",
						 "height tool_s10.xyz --points tool_missing.txt", "volume tool_s10.xyz tool_far.xyz",
						 "height tool_s10.xyz --points tool_s10.xyz --output tool_plainfile/h.txt"},
		"tool_errors.txt");
}

TEST_F(MirelTool, BadGisInputGivesOneErrorLineAndNoResult)
{
	if(!haveGdal()) GTEST_SKIP() << "the tool is built without GDAL";
	writeBytes("tool_errors.unknown", std::string("\x01\x02junk", 6));
	expectErrorCases({"mesh tool_s10.xyz --boundary " + dataFile("tool_bowtie.geojson"), "scene tool_s10.xyz --boundary " + dataFile("tool_open_line.geojson"),
						 "contours tool_s10.xyz --interval 1 --breaklines " + dataFile("tool_far_line.geojson"), "info " + dataFile("tool_nodata.asc"),
						 "contours tool_s10.xyz --interval 1 --output tool_err_out/c.abc", "info tool_errors.unknown"},
		"tool_gis_errors.txt");
}

TEST_F(MirelTool, AFailedWriteLeavesNoResultUnderItsName)
{
	// The mesh's final name is taken by a folder: the drawing is complete and
	// stays, the mesh fails and no partial file or staging folder is left.
	fs::remove_all("tool_blocked");
	fs::create_directories("tool_blocked/terrain.obj/inside");
	RunResult r(runTool("-n 300 -q -o tool_blocked"));
	EXPECT_EQ(r.exitCode, 1) << r.out << r.err;
	EXPECT_NE(r.err.find("tool_blocked/terrain.obj"), std::string::npos) << r.err;
	std::vector<std::string> vNames;
	for(const fs::directory_entry& e : fs::directory_iterator("tool_blocked")) vNames.push_back(e.path().filename().string());
	std::sort(vNames.begin(), vNames.end());
	EXPECT_EQ(vNames, (std::vector<std::string>{"terrain.obj", "terrain.ps"}));
	EXPECT_TRUE(fs::is_directory("tool_blocked/terrain.obj"));
}

TEST_F(MirelTool, GoodRunsWriteAMatchingMeshAndARenderableDrawing)
{
	RunResult help(runTool("--help"));
	EXPECT_EQ(help.exitCode, 0);
	EXPECT_NE(help.out.find("triangulate"), std::string::npos);
	EXPECT_NE(help.out.find("--output-dir"), std::string::npos);

	// A text file of the library's own writer: one "x y z" line per point.
	std::vector<Point2> vPoints;
	generateRandomPoints3D(500, 0.0, 50.0, vPoints, 21);
	vPoints.push_back(vPoints[0]); // a duplicate, merged into the first
	ASSERT_TRUE(writePointsASCII("tool_points.xyz", vPoints));
	fs::remove_all("tool_good_out");
	RunResult r(runTool("tool_points.xyz -o tool_good_out --name survey --stats --progress"));
	ASSERT_EQ(r.exitCode, 0) << r.out << r.err;
	EXPECT_NE(r.out.find("  duplicates                 1\n"), std::string::npos) << r.out;
	EXPECT_NE(r.out.find("MESH STATISTICS (survey)"), std::string::npos) << r.out;
	EXPECT_NE(r.err.find("100%"), std::string::npos) << r.err;

	std::string obj(mtest::readFile("tool_good_out/survey.obj"));
	size_t numV(countLinesStartingWith(obj, "v ")), numF(countLinesStartingWith(obj, "f "));
	EXPECT_EQ(numV, 500u);
	// Every input place comes back exactly (shortest round-trip text).
	std::istringstream in(obj);
	std::string line;
	size_t numFound(0);
	std::vector<Point2> vSorted(vPoints.begin(), vPoints.end() - 1);
	std::sort(vSorted.begin(), vSorted.end());
	while(std::getline(in, line))
	{
		std::istringstream ls(line);
		std::string tag;
		ls >> tag;
		if(tag == "v")
		{
			double x, y, z;
			ls >> x >> y >> z;
			auto it(std::lower_bound(vSorted.begin(), vSorted.end(), Point2(x, y, z)));
			numFound += (it != vSorted.end() && it->x() == x && it->y() == y && it->z() == z) ? 1 : 0;
		}
		else if(tag == "f")
		{
			long a, b, c;
			ls >> a >> b >> c;
			EXPECT_TRUE(a >= 1 && b >= 1 && c >= 1 && size_t(a) <= numV && size_t(b) <= numV && size_t(c) <= numV) << line;
		}
	}
	EXPECT_EQ(numFound, 500u);
	EXPECT_GT(numF, 900u);

	// The built-in terrain, binary input, and the drawing rendered.
	fs::remove_all("tool_terrain_out");
	r = runTool("-n 3000 -o tool_terrain_out -q");
	ASSERT_EQ(r.exitCode, 0) << r.out << r.err;
	EXPECT_TRUE(fs::exists("tool_terrain_out/terrain.obj"));
	ASSERT_TRUE(fs::exists("tool_terrain_out/terrain.ps"));
	std::vector<Point2> vBin(vPoints.begin(), vPoints.end() - 1);
	ASSERT_TRUE(writePointsBIN("tool_points.bin", vBin));
	r = runTool("tool_points.bin -o tool_terrain_out --no-ps -q");
	ASSERT_EQ(r.exitCode, 0) << r.out << r.err;
	EXPECT_EQ(countLinesStartingWith(mtest::readFile("tool_terrain_out/tool_points.obj"), "v "), 500u);

	if(!mtest::ghostscriptAvailable()) GTEST_SKIP() << "gs not installed";
	mtest::Image img;
	std::string log;
	ASSERT_TRUE(mtest::render("tool_terrain_out/terrain.ps", "tool_terrain.png", 40, img, log)) << log;
	// The filled map covers the 480x480-point drawing area: ~70000 pixels at 40 dpi.
	EXPECT_GT(mtest::countNonWhite(img), 50000u);
}

TEST_F(MirelTool, SurveyCoordinatesGoThroughExactlyAndSummariesAreJson)
{
	// Heights at the survey points themselves are their own heights, to the
	// last bit; a point off the terrain gets nan.
	std::vector<Point2> vQueries(surveyPoints(5.0, 0.1, 0.0));
	vQueries.push_back(Point2(600000.125, 5000000, 0));
	ASSERT_TRUE(writePointsASCII("tool_queries.xyz", vQueries));
	fs::remove_all("tool_json_out");
	RunResult r(runTool("height tool_slope.xyz --points tool_queries.xyz --output tool_json_out/h.txt --json"));
	ASSERT_EQ(r.exitCode, 0) << r.err;
	EXPECT_EQ(mtest::countOf(r.out, "\n"), 1u) << r.out;
	EXPECT_EQ(r.out.rfind("{\"command\": \"height\"", 0), 0u) << r.out;
	EXPECT_EQ(jsonNumber(r.out, "found"), 304.0);
	EXPECT_EQ(jsonNumber(r.out, "outside"), 1.0);
	std::istringstream in(mtest::readFile("tool_json_out/h.txt"));
	for(const Point2& q : vQueries)
	{
		std::string x, y, z;
		ASSERT_TRUE(bool(in >> x >> y >> z));
		EXPECT_EQ(std::stod(x), q.x());
		EXPECT_EQ(std::stod(y), q.y());
		if(&q == &vQueries.back()) EXPECT_EQ(z, "nan");
		else EXPECT_EQ(std::stod(z), q.z()) << x << " " << y;
	}
	// Library statistics go to standard error: standard output stays one object.
	r = runTool("triangulate tool_slope.xyz --stats --no-ps --no-obj -o tool_json_out --json");
	ASSERT_EQ(r.exitCode, 0) << r.err;
	EXPECT_EQ(mtest::countOf(r.out, "\n"), 1u) << r.out;
	EXPECT_NE(r.err.find("MESH STATISTICS"), std::string::npos);
	r = runTool("info tool_slope.xyz --json");
	EXPECT_EQ(jsonNumber(r.out, "min_x"), 500000.0) << r.out;
	EXPECT_EQ(jsonNumber(r.out, "max_z"), 10.0) << r.out;
	EXPECT_EQ(jsonNumber(r.out, "points"), 304.0) << r.out;
}

TEST_F(MirelTool, MeshAndVolumeInsideABoundaryWithAHole)
{
	if(!haveGdal()) GTEST_SKIP() << "the tool is built without GDAL";
	std::string site(dataFile("tool_site.geojson"));
	fs::remove_all("tool_site_out");
	RunResult r(runTool("mesh tool_slope.xyz --boundary " + site + " --max-area 2 -o tool_site_out -q --json"));
	ASSERT_EQ(r.exitCode, 0) << r.err;
	EXPECT_GE(jsonNumber(r.out, "min_angle_reached"), 20.0) << r.out;
	EXPECT_GE(jsonNumber(r.out, "mesh_triangles"), 192.0) << r.out;
	EXPECT_NEAR(jsonNumber(r.out, "zone_area"), 384.0, 1e-9) << r.out;
	EXPECT_TRUE(fs::exists("tool_site_out/tool_slope.obj"));
	// Ground 10, design 5 + 0.1 (x - 500000): all cut, 1152 m3 over 20 x 20 m
	// less the 4 x 4 m hole.
	r = runTool("volume tool_s10.xyz tool_slope.xyz --boundary " + site + " -o tool_site_out -q --json");
	ASSERT_EQ(r.exitCode, 0) << r.err;
	EXPECT_NEAR(jsonNumber(r.out, "cut_volume"), 1152.0, 1e-9) << r.out;
	EXPECT_EQ(jsonNumber(r.out, "fill_volume"), 0.0) << r.out;
	EXPECT_NEAR(jsonNumber(r.out, "cut_area"), 384.0, 1e-9) << r.out;
	EXPECT_TRUE(fs::exists("tool_site_out/tool_s10_volume.gpkg"));
}
