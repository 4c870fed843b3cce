// mirel triangulate: points from a file or the built-in terrain, their exact
// Delaunay triangulation, a PostScript map and an OBJ mesh.
#include "CommandLine.h"
#include "Commands.h"
#include "MeshOutput.h"
#include "OutputFiles.h"
#include "PointInput.h"
#include "TerrainModel.h"
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
	static const std::vector<OptionDef> vOptionDefs = withCommonOptions(
		{
			{"input", 'i', true, "FILE", "terrain to triangulate: a point file (text x y or x y z per line, binary type 20 or 30), a raster DEM or a vector file's points; also accepted as the first argument"},
			{"points", 'n', true, "N", "without an input file: points of the built-in terrain (default 100000)"},
			{"seed", 0, true, "S", "seed of the built-in terrain (default 1)"},
			{"no-ps", 0, false, "", "do not write the PostScript drawing"},
			{"no-obj", 0, false, "", "do not write the OBJ mesh"},
			{"stats", 's', false, "", "print mesh statistics (extent, heights, hull, angle histogram)"},
		},
		OG_TERRAIN | OG_OUTPUT);
	return vOptionDefs;
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

void triangulate(const ParsedOptions& opts, Summary& summary)
{
	auto start(std::chrono::steady_clock::now());
	const std::vector<std::string>& vPositional(opts.getPositional());
	if(vPositional.size() > 1) throw UsageError{"more than one input file given ('" + vPositional[0] + "', '" + vPositional[1] + "')"};
	if(!vPositional.empty() && opts.has("input")) throw UsageError{"input given twice ('" + vPositional[0] + "' and --input)"};
	std::string inputFile(vPositional.empty() ? opts.get("input", "") : vPositional[0]);
	if(opts.has("input") && inputFile.empty()) throw UsageError{"--input needs a file name"};
	if(inputFile.empty() && (opts.has("format") || opts.has("thin") || opts.has("breaklines") || opts.has("boundary")))
	{
		throw UsageError{"--format, --thin, --breaklines and --boundary need an input file"};
	}
	if(!inputFile.empty() && (opts.has("points") || opts.has("seed"))) throw UsageError{"--points and --seed choose the built-in terrain, not an input file"};
	size_t numTerrainPoints(size_t(opts.getInteger("points", DEFAULT_TERRAIN_POINTS, 3, MAX_POINTS)));
	unsigned seed(unsigned(opts.getInteger("seed", 1, 1, 2147483647LL)));
	CommonSettings s(readCommonSettings(opts, inputFile.empty() ? "terrain" : stemOf(inputFile)));
	s.bPs = !opts.has("no-ps");
	s.bObj = !opts.has("no-obj");
	prepareOutputFolder(s.outputFolder);

	TerrainModel model(s);
	if(inputFile.empty())
	{
		std::vector<Point2> vPoints;
		makeBuiltInTerrain(numTerrainPoints, seed, vPoints);
		model.build(vPoints, "built-in terrain (seed " + std::to_string(seed) + ")");
	}
	else model.load(inputFile);
	model.summarize(summary);
	if(opts.has("stats")) printStatistics(model.dt(), s.name);
	std::string title(std::to_string(model.dt().numberOfPoints()) + " points, " + std::to_string(model.dt().numberOfTriangles()) + " triangles: " + model.getWhat());
	model.writeFiles(summary, title, true);
	summary.add("seconds", std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
}
} // namespace

const Command triangulateCommand{"triangulate", "triangulate points (a file, or the built-in terrain) and write a drawing and a mesh", "[OPTIONS] [FILE]", optionSpecs, triangulate};

} // namespace mireltool
