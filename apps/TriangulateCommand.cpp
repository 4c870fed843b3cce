// mirel triangulate: points from a file or the built-in terrain, their exact
// Delaunay triangulation, a PostScript map and an OBJ mesh.
#include "CommandLine.h"
#include "Commands.h"
#include "MeshOutput.h"
#include "OutputFiles.h"
#include "PointInput.h"
#include "ProgressBar.h"
#include "Bbox2.h"
#include "MirelExport.h"
#include "Mirel_2D.h"
#include "freeFunctions.h"
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <unistd.h>

namespace mireltool {

using namespace MIREL25D;

namespace {
const long long DEFAULT_TERRAIN_POINTS(100000);
const long long MAX_POINTS(2000000000LL);
const char* DEFAULT_OUTPUT_FOLDER("mirel_out");
// The terrain's extent and height range (metres, say).
const double TERRAIN_SIZE(1000.0);
const double TERRAIN_ZMIN(100.0);
const double TERRAIN_ZMAX(400.0);
// The control grid of the generated surface; the terrain's points take their
// heights from it by bilinear interpolation.
const size_t SURFACE_GRID(129);
const size_t SURFACE_HILLS(12);

const std::vector<OptionDef>& optionSpecs()
{
	static const std::vector<OptionDef> vOptionDefs = {
		{"input", 'i', true, "FILE", "points to triangulate: text with x y or x y z per line, or a binary point file (type 20 or 30); also accepted as the first argument"},
		{"format", 'f', true, "FMT", "auto (default), xy, xyz (text, numbers taken 2 or 3 at a time) or bin"},
		{"points", 'n', true, "N", "without an input file: points of the built-in terrain (default 100000)"},
		{"seed", 0, true, "S", "seed of the built-in terrain (default 1)"},
		{"output-dir", 'o', true, "DIR", "folder for the results, created if missing (default mirel_out)"},
		{"name", 0, true, "NAME", "base name of the results NAME.ps and NAME.obj (default: the input's name, or terrain)"},
		{"threads", 't', true, "N", "threads for the triangulation: N > 0 as given, 0 all hardware threads (default 1)"},
		{"no-ps", 0, false, "", "do not write the PostScript drawing"},
		{"no-obj", 0, false, "", "do not write the OBJ mesh"},
		{"stats", 's', false, "", "print mesh statistics (extent, heights, hull, angle histogram)"},
		{"progress", 0, false, "", "draw the progress bar even when standard error is not a terminal"},
		{"quiet", 'q', false, "", "no progress bar"},
		{"help", 'h', false, "", "this help"},
	};
	return vOptionDefs;
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
	return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string formatSeconds(double s)
{
	std::ostringstream oss;
	oss << std::fixed << std::setprecision(s < 10.0 ? 3 : 1) << s << " s";
	return oss.str();
}

std::string formatBytes(unsigned long long n)
{
	std::ostringstream oss;
	if(n < 10000) oss << n << " bytes";
	else if(n < 1000000) oss << std::fixed << std::setprecision(1) << double(n) / 1e3 << " kB";
	else oss << std::fixed << std::setprecision(1) << double(n) / 1e6 << " MB";
	return oss.str();
}

// Random survey points over a smooth generated surface: x and y from the
// random point generator, heights interpolated bilinearly in the surface grid.
void makeBuiltInTerrain(size_t numPoints, unsigned seed, std::vector<Point2>& vPoints)
{
	std::vector<Point2> vGrid;
	generateRandomSurfacePoints(SURFACE_GRID, SURFACE_GRID, SURFACE_HILLS, 0.0, 0.0, TERRAIN_ZMIN, TERRAIN_SIZE, TERRAIN_SIZE, TERRAIN_ZMAX, vGrid, seed);
	generateRandomPoints(numPoints, 0.0, TERRAIN_SIZE, vPoints, seed);
	const double cell(TERRAIN_SIZE / double(SURFACE_GRID - 1));
	for(Point2& p : vPoints)
	{
		double gx(p.x() / cell), gy(p.y() / cell);
		size_t ix(std::min(size_t(gx), SURFACE_GRID - 2)), iy(std::min(size_t(gy), SURFACE_GRID - 2));
		double fx(gx - double(ix)), fy(gy - double(iy));
		auto z = [&](size_t i, size_t j) { return vGrid[j * SURFACE_GRID + i].z(); };
		double zLow(z(ix, iy) * (1.0 - fx) + z(ix + 1, iy) * fx);
		double zHigh(z(ix, iy + 1) * (1.0 - fx) + z(ix + 1, iy + 1) * fx);
		p.setZ(zLow * (1.0 - fy) + zHigh * fy);
	}
}

void printStatistics(Mirel_2D& dt, const std::string& name)
{
	std::vector<Point2*> vVertices;
	dt.getVertexPointers(vVertices);
	std::vector<Point2*> vHull;
	dt.getConvexHull(true, vHull);
	Bbox2 box(dt.computeBoundingBox());
	double zMin(0.0), zMax(0.0);
	for(size_t i = 0; i < vVertices.size(); ++i)
	{
		double z(vVertices[i]->z());
		zMin = (i == 0 || z < zMin) ? z : zMin;
		zMax = (i == 0 || z > zMax) ? z : zMax;
	}
	size_t numT(dt.numberOfTriangles());
	size_t numEdges((3 * numT + vHull.size()) / 2);
	std::ostringstream oss;
	oss << std::setprecision(10) << "  extent       x " << box.get_minX() << " .. " << box.get_maxX() << ", y " << box.get_minY() << " .. " << box.get_maxY()
		<< "\n"
		<< "  heights      " << zMin << " .. " << zMax << "\n"
		<< "  hull         " << vHull.size() << " vertices\n"
		<< "  edges        " << numEdges << "\n";
	std::cout << oss.str();
	dt.statistics(name.c_str());
}

struct Settings
{
	std::string inputFile;
	PointFormat format = PointFormat::AUTO;
	size_t numTerrainPoints = size_t(DEFAULT_TERRAIN_POINTS);
	unsigned seed = 1;
	std::string outputFolder = DEFAULT_OUTPUT_FOLDER;
	std::string name;
	int numThreads = 1;
	bool bWritePs = true;
	bool bWriteObj = true;
	bool bStats = false;
	bool bProgress = false;
};

Settings readSettings(const ParsedOptions& opts)
{
	Settings s;
	const std::vector<std::string>& vPositional(opts.getPositional());
	if(vPositional.size() > 1) throw UsageError{"more than one input file given ('" + vPositional[0] + "', '" + vPositional[1] + "')"};
	if(!vPositional.empty() && opts.has("input")) throw UsageError{"input given twice ('" + vPositional[0] + "' and --input)"};
	s.inputFile = vPositional.empty() ? opts.get("input", "") : vPositional[0];
	if(opts.has("input") && s.inputFile.empty()) throw UsageError{"--input needs a file name"};
	s.format = parsePointFormat(opts.get("format", "auto"));
	if(s.inputFile.empty() && opts.has("format")) throw UsageError{"--format needs an input file"};
	if(!s.inputFile.empty() && (opts.has("points") || opts.has("seed"))) throw UsageError{"--points and --seed choose the built-in terrain, not an input file"};
	s.numTerrainPoints = size_t(opts.getInteger("points", DEFAULT_TERRAIN_POINTS, 3, MAX_POINTS));
	s.seed = unsigned(opts.getInteger("seed", 1, 1, 2147483647LL));
	s.outputFolder = opts.get("output-dir", DEFAULT_OUTPUT_FOLDER);
	if(s.outputFolder.empty()) throw UsageError{"--output-dir needs a folder name"};
	std::string defaultName(s.inputFile.empty() ? "terrain" : std::filesystem::path(s.inputFile).stem().string());
	s.name = opts.get("name", defaultName.empty() ? "mesh" : defaultName);
	if(s.name.empty() || s.name.find('/') != std::string::npos || s.name == "." || s.name == "..")
	{
		throw UsageError{"--name expects a plain file name without folders, not '" + s.name + "'"};
	}
	s.numThreads = int(opts.getInteger("threads", 1, 0, 1024));
	s.bWritePs = !opts.has("no-ps");
	s.bWriteObj = !opts.has("no-obj");
	s.bStats = opts.has("stats");
	s.bProgress = !opts.has("quiet") && (opts.has("progress") || isatty(fileno(stderr)));
	return s;
}

int triangulate(const Settings& s)
{
	auto startAll(std::chrono::steady_clock::now());
	prepareOutputFolder(s.outputFolder);

	// ---- Points ----
	std::vector<Point2> vPoints;
	auto start(std::chrono::steady_clock::now());
	std::string source;
	if(s.inputFile.empty())
	{
		makeBuiltInTerrain(s.numTerrainPoints, s.seed, vPoints);
		source = "built-in terrain (seed " + std::to_string(s.seed) + ")";
	}
	else
	{
		std::string formatRead(readPointFile(s.inputFile, s.format, vPoints));
		source = s.inputFile + " (" + formatRead + ")";
	}
	std::cout << "mirel triangulate: " << source << "\n"
			  << "  points       " << vPoints.size() << (s.inputFile.empty() ? " made in " : " read in ") << formatSeconds(secondsSince(start)) << std::endl;
	if(vPoints.size() > size_t(MAX_POINTS)) throw InputError{s.inputFile + ": more than " + std::to_string(MAX_POINTS) + " points"};

	// ---- Triangulation ----
	std::unique_ptr<Mirel_2D> pDt(new Mirel_2D(static_cast<unsigned>(vPoints.size())));
	Mirel_2D& dt(*pDt);
	dt.setName(s.name.c_str());
	int numThreadsUsed(dt.setNumCPU(s.numThreads));
	ProgressBar bar(stderr, "triangulate");
	if(s.bProgress) dt.subscribe(MSG_PROGRESS, &bar);
	start = std::chrono::steady_clock::now();
	dt.insert(vPoints);
	double timeInsert(secondsSince(start));
	if(s.bProgress) dt.unsubscribe(MSG_PROGRESS, &bar);
	size_t numInput(vPoints.size());
	std::vector<Point2>().swap(vPoints);
	size_t numVertices(dt.numberOfPoints());
	if(!dt.hasArea())
	{
		std::string what(s.inputFile.empty() ? std::string("the built-in terrain") : s.inputFile);
		throw InputError{what + ": the " + std::to_string(numVertices) + " distinct points lie on one line, there is nothing to triangulate"};
	}
	std::ostringstream oss;
	oss << "  vertices     " << numVertices;
	if(numVertices < numInput) oss << " (" << (numInput - numVertices) << " duplicates merged)";
	oss << "\n  triangulated " << dt.numberOfTriangles() << " triangles in " << formatSeconds(timeInsert) << " (" << std::fixed << std::setprecision(2)
		<< double(numVertices) / std::max(timeInsert, 1e-9) / 1e6 << " M points/s, " << numThreadsUsed << (numThreadsUsed == 1 ? " thread)" : " threads)");
	std::cout << oss.str() << std::endl;
	if(s.bStats) printStatistics(dt, s.name);

	// ---- Drawing, then the mesh (the export releases the triangulation) ----
	if(s.bWritePs)
	{
		start = std::chrono::steady_clock::now();
		PendingFile ps(s.outputFolder, s.name + ".ps");
		std::string title(std::to_string(numVertices) + " points, " + std::to_string(dt.numberOfTriangles()) + " triangles: " + source);
		if(!writeTerrainDrawing(dt, ps.getTempPath(), title)) throw OutputError{ps.getFinalPath() + ": can't be written"};
		ps.commit();
		std::cout << "  drawing      " << ps.getFinalPath() << " (" << formatBytes(ps.size()) << ", " << formatSeconds(secondsSince(start)) << ")" << std::endl;
	}
	if(s.bWriteObj)
	{
		start = std::chrono::steady_clock::now();
		PendingFile obj(s.outputFolder, s.name + ".obj");
		MirelExport mesh;
		dt.exportTriangulation(mesh, false, true);
		if(!writeObjExact(mesh, obj.getTempPath())) throw OutputError{obj.getFinalPath() + ": can't be written"};
		obj.commit();
		std::cout << "  mesh         " << obj.getFinalPath() << " (" << formatBytes(obj.size()) << ", " << formatSeconds(secondsSince(start)) << ")" << std::endl;
	}
	std::cout << "done in " << formatSeconds(secondsSince(startAll)) << std::endl;
	return EXIT_OK;
}
} // namespace

std::string helpTriangulate()
{
	return formatOptions(optionSpecs());
}

int runTriangulate(const std::vector<std::string>& vArgs)
{
	Settings settings;
	try
	{
		ParsedOptions opts(parseOptions(optionSpecs(), vArgs));
		if(opts.has("help"))
		{
			std::cout << "Usage: mirel triangulate [OPTIONS] [FILE]\n\nOptions:\n" << helpTriangulate();
			return EXIT_OK;
		}
		settings = readSettings(opts);
	}
	catch(const UsageError& e)
	{
		printError(e.message + " (see mirel --help)");
		return EXIT_USAGE;
	}
	try
	{
		return triangulate(settings);
	}
	catch(const InputError& e)
	{
		printError(e.message);
	}
	catch(const OutputError& e)
	{
		printError(e.message);
	}
	return EXIT_FAILED;
}

} // namespace mireltool
