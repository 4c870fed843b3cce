// The command-line tool, run as a separate process: every kind of bad input
// ends with one error line that names the file, a non-zero exit status and no
// result file; good runs write a mesh that matches the input and a drawing
// that Ghostscript renders.
#include "Point2.h"
#include "freeFunctions.h"
#include "test_support.h"
#include <cstdint>
#include <cstdio>
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

} // namespace

class MirelTool : public testing::Test
{
protected:
	void SetUp() override
	{
#ifndef MIREL_TOOL_PATH
		GTEST_SKIP() << "the tool is not built (MIREL25D_BUILD_APPS=OFF)";
#endif
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
	struct Case
	{
		std::string args, fileNamed, detail;
		int exitCode;
	};
	std::vector<Case> vCases = {
		{"tool_missing.xyz -o tool_err_out", "tool_missing.xyz", "", 1},
		{"--input tool_wrongtype.bin -o tool_err_out", "tool_wrongtype.bin", "type 25", 1},
		{"tool_truncated.bin -o tool_err_out", "tool_truncated.bin", "truncated", 1},
		{"tool_nonnumber.xyz -o tool_err_out", "tool_nonnumber.xyz", "line 3: 'x3' is not a number", 1},
		{"--format xyz tool_halfpoint.txt -o tool_err_out", "tool_halfpoint.txt", "", 1},
		{"tool_collinear.xy -o tool_err_out", "tool_collinear.xy", "", 1},
		{"-n 50 -o tool_plainfile/sub", "tool_plainfile/sub", "", 1},
		{"triangulate --no-such-option -o tool_err_out", "--no-such-option", "", 2},
		{"trinagulate", "trinagulate", "", 2},
		{"-n 12x -o tool_err_out", "12x", "", 2},
	};
	for(const Case& c : vCases)
	{
		SCOPED_TRACE(c.args);
		fs::remove_all("tool_err_out");
		RunResult r(runTool(c.args));
		EXPECT_EQ(r.exitCode, c.exitCode) << r.out << r.err;
		EXPECT_EQ(r.err.rfind("mirel: error: ", 0), 0u) << r.err;
		EXPECT_EQ(countLinesStartingWith(r.err, ""), 1u) << r.err;
		EXPECT_NE(r.err.find(c.fileNamed), std::string::npos) << r.err;
		EXPECT_NE(r.err.find(c.detail), std::string::npos) << r.err;
		EXPECT_TRUE(folderIsEmpty("tool_err_out"));
	}
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
	EXPECT_NE(r.out.find("1 duplicates merged"), std::string::npos) << r.out;
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
