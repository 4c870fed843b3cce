// The browser scene opened as a user opens it: index.html from disk (file://)
// in headless Chromium with software WebGL. The screenshot must show the
// mesh, the console no JavaScript error, and nothing may come from the net.
#include "Mirel25D.h"
#include "test_support.h"
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <unistd.h>

namespace {
using namespace MIREL25D;
using mtest::readFile;
namespace fs = std::filesystem;

const char* const CHROMIUM("/usr/bin/chromium");

// A terrain in survey coordinates (eastings near 5e5, northings near 5e6),
// where float32 alone would lose the metres.
void makeTerrain(size_t side, Mirel_2D& dt)
{
	std::vector<Point2> vPoints;
	generateRandomSurfacePoints(side, side, 12, 512000.0, 5412000.0, 310.0, 514000.0, 5414000.0, 520.0, vPoints, 7);
	dt.insert(vPoints);
}

struct BrowserRun
{
	int status = -1;
	std::string log;
};

// Opens the page and takes a screenshot; the log holds Chromium's standard
// error, where the page's console messages appear. Name lookups all fail, so
// a page that reached for the net would show errors.
BrowserRun openInBrowser(const std::string& sceneDir, const std::string& view, const std::string& screenshot)
{
	std::string profile(fs::absolute(sceneDir + "_profile").string());
	std::string logFile(fs::absolute(sceneDir + "_chromium.log").string());
	fs::remove_all(profile);
	fs::remove(screenshot);
	std::string url("file://" + fs::absolute(sceneDir + "/index.html").string() + view);
	std::string command(std::string(CHROMIUM) + " --headless --disable-gpu --use-angle=swiftshader --enable-unsafe-swiftshader" +
		(getuid() == 0 ? " --no-sandbox" : "") +
		" --disable-background-networking --disable-component-update --disable-sync --no-first-run --no-default-browser-check"
		" --host-resolver-rules='MAP * ~NOTFOUND' --user-data-dir=" + profile + " --enable-logging=stderr --v=0"
		" --window-size=1100,1100 --screenshot=" + fs::absolute(screenshot).string() + " '" + url + "' > " + logFile + " 2>&1");
	BrowserRun run;
	run.status = std::system(command.c_str());
	run.log = readFile(logFile);
	fs::remove_all(profile);
	return run;
}

// The page's console lines ("CONSOLE" in Chromium's log).
std::vector<std::string> consoleLines(const std::string& log)
{
	std::vector<std::string> vLines;
	std::istringstream in(log);
	for(std::string line; std::getline(in, line);)
		if(line.find(":CONSOLE") != std::string::npos) vLines.push_back(line);
	return vLines;
}

TEST(SceneBrowser, TerrainSceneOpensFromDiskAndDrawsTheMesh)
{
	if(!fs::exists(CHROMIUM)) GTEST_SKIP() << CHROMIUM << " is not installed";
	Mirel_2D dt(10000);
	makeTerrain(60, dt);
	ASSERT_TRUE(dt.hasArea());
	const std::string dir("browser_scene");
	fs::remove_all(dir);
	dt.writeWebScene(dir.c_str());
	for(const char* name : {"index.html", "three.min.js", "OrbitControls.js", "mesh.js", "3d.obj", "three.LICENSE.txt"})
		EXPECT_TRUE(fs::is_regular_file(dir + "/" + name)) << name;

	// The page and the mesh reference nothing remote; the scripts are local files.
	for(const char* name : {"index.html", "mesh.js"})
	{
		std::string text(readFile(dir + "/" + name));
		std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return char(std::tolower(c)); });
		for(const char* remote : {"http:", "https:", "ftp:", "src=\"//", "href=\"//"}) EXPECT_EQ(std::string::npos, text.find(remote)) << name << ": " << remote;
	}

	// The default view and the other render modes with exaggerated heights.
	// The page without its mesh shows about 330 colours (anti-aliased text)
	// and its legend adds 200; the shaded terrain shows over 15000, its wires
	// over 5000 and its points nearly 3000.
	const std::vector<std::pair<std::string, size_t>> vViews{{"", 5000}, {"#mode=wireframe&exaggeration=4", 2000}, {"#mode=points&exaggeration=2", 1500}};
	for(const std::pair<std::string, size_t>& view : vViews)
	{
		std::string screenshot(dir + "_screenshot" + std::to_string(&view - &vViews[0]) + ".png");
		BrowserRun run(openInBrowser(dir, view.first, screenshot));
		ASSERT_EQ(0, run.status) << run.log;
		std::string ready;
		for(const std::string& line : consoleLines(run.log))
		{
			EXPECT_EQ(std::string::npos, line.find("Uncaught")) << line;
			EXPECT_EQ(std::string::npos, line.find("Mirel scene: error")) << line;
			EXPECT_EQ(std::string::npos, line.find("ERR_")) << line;
			if(line.find("Mirel scene: ready: " + std::to_string(dt.numberOfTriangles()) + " triangles") != std::string::npos) ready = line;
		}
		EXPECT_FALSE(ready.empty()) << view.first << ": the page did not report its first frame\n" << run.log;
		mtest::Image picture;
		ASSERT_TRUE(mtest::readPng(screenshot, picture)) << screenshot;
		std::set<std::string> sColors; // the distinct RGB values
		for(size_t i = 0; i + 2 < picture.rgb.size(); i += 3) sColors.insert(picture.rgb.substr(i, 3));
		EXPECT_GT(sColors.size(), view.second) << view.first;
	}
}

} // namespace
