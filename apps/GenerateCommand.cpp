// mirel generate: the synthetic site of the walkthrough, written through GDAL
// as a GIS user would receive it: an existing-ground DEM and a design surface
// (GeoTIFF), the site boundary with a hole, breaklines, stake-out points and
// road centre lines (GeoPackage), all in ETRS89 / UTM 32N survey coordinates.
//
// The case is built so that its results are known exactly. The existing
// ground is the design plane plus a height profile across the site that is
// piecewise linear in y, with its kinks on the breaklines: triangulated, the
// DEM reproduces the ground exactly, and the cut and fill between
// it and the design plane over the rectilinear boundary are integrals of a
// piecewise linear function of y, in closed form. They are written to
// known_values.txt together with the surfaces' parameters, from which a
// script can check any height the tool reports.
#include "CommandLine.h"
#include "Commands.h"
#include "GeoData.h"
#include "TerrainModel.h"
#include "Segment2.h"
#include "freeFunctions.h"
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace mireltool {

using MIREL25D::Point2;

namespace {
const char* DEFAULT_OUTPUT_FOLDER("mirel_out");
const int EPSG_ETRS89_UTM32N(25832);
// The site's south-west corner: survey coordinates as in a real project.
const double ORIGIN_X(500000.0);
const double ORIGIN_Y(5000000.0);
const double CELL(5.0); // DEM cell side in metres
const double NODATA(-9999.0);
const size_t NUM_STAKEOUT_POINTS(24);

const std::vector<OptionDef>& optionSpecs()
{
	static const std::vector<OptionDef> vOptionDefs = {
		{"output-dir", 'o', true, "DIR", "folder for the data, created if missing (default mirel_out)"},
		{"size", 0, true, "N", "DEM cells per side, 5 m each (default 200: a 1 km square site; 20 .. 20000)"},
		{"seed", 0, true, "S", "seed of the stake-out points and the road (default 1)"},
		{"json", 0, false, "", "print the summary as one JSON object"},
		{"help", 'h', false, "", "this help"},
	};
	return vOptionDefs;
}

// The synthetic site in local coordinates (u, v) = (x - ORIGIN_X, y - ORIGIN_Y)
// over the square [0, side]^2. Design: z = DESIGN_Z0 + DESIGN_DU*u + DESIGN_DV*v.
// Existing ground: design + profile(v), the profile linear between its knots.
const double DESIGN_Z0(150.0);
const double DESIGN_DU(0.06);
const double DESIGN_DV(-0.01);
// The profile's inner knots lie on the rows of cell centres nearest to a
// fifth, a half and four fifths of the side: the triangulation of the grid
// has edges along every row, so it reproduces the ground exactly even without
// the breaklines. Heights at the knots in thousandths of the side: a valley
// below the design in the middle, above it at both ends.
const double PROFILE_HEIGHT_PERMILLE[] = {18.0, -6.0, -21.0, 24.0, 30.0};
const size_t NUM_KNOTS(5);

struct Site
{
	double side; // metres
	std::vector<double> vKnotV, vKnotH;

	explicit Site(int numCells) : side(CELL * numCells)
	{
		const int aKnotRows[] = {numCells / 5, numCells / 2, 4 * numCells / 5};
		vKnotV = {0.0, CELL * (aKnotRows[0] + 0.5), CELL * (aKnotRows[1] + 0.5), CELL * (aKnotRows[2] + 0.5), side};
		for(size_t i = 0; i < NUM_KNOTS; ++i) vKnotH.push_back(side * PROFILE_HEIGHT_PERMILLE[i] / 1000.0);
	}
	// A fraction of the side given in twentieths: exact for every size.
	double at(int twentieths) const { return side * twentieths / 20.0; }
	// The cell centre nearest below it. The boundary runs along rows and
	// columns of centres: cut and fill combines both surfaces into one
	// triangulation, which then keeps the grid's edges and with them the kinks.
	double centreAt(int twentieths) const { return CELL * (std::floor(at(twentieths) / CELL) + 0.5); }

	double design(double u, double v) const { return DESIGN_Z0 + DESIGN_DU * u + DESIGN_DV * v; }
	double profile(double v) const
	{
		size_t k(1);
		while(k + 1 < NUM_KNOTS && v > vKnotV[k]) ++k;
		double t((v - vKnotV[k - 1]) / (vKnotV[k] - vKnotV[k - 1]));
		return vKnotH[k - 1] + t * (vKnotH[k] - vKnotH[k - 1]);
	}
	double ground(double u, double v) const { return design(u, v) + profile(v); }
};

// An axis-parallel rectangle of the boundary, counted with its sign (+1 for
// the parts of the outer ring, -1 for the hole).
struct SignedRect
{
	double u0, v0, u1, v1;
	int sign;
};

// The boundary: an L-shaped outer ring (twentieths of the side) around a
// rectangular hole, e.g. a building that stays.
std::vector<SignedRect> boundaryRects(const Site& site)
{
	auto c = [&](int twentieths) { return site.centreAt(twentieths); };
	return {{c(2), c(2), c(18), c(14), 1}, {c(2), c(14), c(12), c(18), 1}, {c(6), c(8), c(9), c(11), -1}};
}

PolygonRings boundaryPolygon(const Site& site)
{
	auto p = [&](int u, int v) { return Point2(ORIGIN_X + site.centreAt(u), ORIGIN_Y + site.centreAt(v), 0.0); };
	PolygonRings rings;
	rings.vOuter = {p(2, 2), p(18, 2), p(18, 14), p(12, 14), p(12, 18), p(2, 18)};
	rings.vHoles.push_back({p(6, 8), p(6, 11), p(9, 11), p(9, 8)});
	return rings;
}

// Cut (ground above design) and fill volumes and areas over the boundary:
// the profile is linear between its knots and its zeros, so each such piece
// integrates exactly by the trapezoid rule.
struct KnownVolumes
{
	double cut = 0.0, fill = 0.0, cutArea = 0.0, fillArea = 0.0;
};

KnownVolumes knownVolumes(const Site& site)
{
	KnownVolumes known;
	for(const SignedRect& rect : boundaryRects(site))
	{
		std::vector<double> vCuts{rect.v0, rect.v1};
		for(size_t k = 0; k < NUM_KNOTS; ++k)
		{
			if(site.vKnotV[k] > rect.v0 && site.vKnotV[k] < rect.v1) vCuts.push_back(site.vKnotV[k]);
			if(k + 1 < NUM_KNOTS && (site.vKnotH[k] < 0.0) != (site.vKnotH[k + 1] < 0.0))
			{
				double v0(site.vKnotV[k]), v1(site.vKnotV[k + 1]), h0(site.vKnotH[k]), h1(site.vKnotH[k + 1]);
				double zero(v0 + (v1 - v0) * h0 / (h0 - h1));
				if(zero > rect.v0 && zero < rect.v1) vCuts.push_back(zero);
			}
		}
		std::sort(vCuts.begin(), vCuts.end());
		const double width(rect.u1 - rect.u0);
		for(size_t i = 0; i + 1 < vCuts.size(); ++i)
		{
			double a(vCuts[i]), b(vCuts[i + 1]);
			double integral(0.5 * (b - a) * (site.profile(a) + site.profile(b)) * width * rect.sign);
			double area((b - a) * width * rect.sign);
			if(site.profile(0.5 * (a + b)) > 0.0)
			{
				known.cut += integral;
				known.cutArea += area;
			}
			else
			{
				known.fill -= integral;
				known.fillArea += area;
			}
		}
	}
	return known;
}

// Heights of the cell centres; nodata in a patch of the middle band (between
// two breaklines), where the triangulation bridges the gap with the band's
// own plane.
RasterGrid groundGrid(const Site& site, int numCells)
{
	RasterGrid grid;
	grid.numCols = grid.numRows = numCells;
	grid.left = ORIGIN_X;
	grid.top = ORIGIN_Y + site.side;
	grid.cellSize = CELL;
	grid.bHasNodata = true;
	grid.nodata = NODATA;
	for(int row = 0; row < numCells; ++row)
	{
		double v(site.side - CELL * (row + 0.5));
		for(int col = 0; col < numCells; ++col)
		{
			double u(CELL * (col + 0.5));
			bool bGap(u > site.at(14) && u < site.at(16) && v > site.at(11) && v < site.at(12));
			grid.vHeights.push_back(bGap ? NODATA : site.ground(u, v));
		}
	}
	return grid;
}

// The design plane on a grid twice as coarse (a plane needs no detail),
// shifted by half a DEM cell so that its cell centres are every other DEM
// cell centre: combined, the two surfaces add no vertex that could bridge
// a kink.
RasterGrid designGrid(const Site& site, int numCells)
{
	RasterGrid grid;
	grid.numCols = grid.numRows = numCells / 2;
	grid.cellSize = 2.0 * CELL;
	grid.left = ORIGIN_X - CELL / 2;
	grid.top = ORIGIN_Y + site.side - CELL / 2;
	for(int row = 0; row < grid.numRows; ++row)
	{
		double v(site.side - CELL * (2 * row + 1.5));
		for(int col = 0; col < grid.numCols; ++col) grid.vHeights.push_back(site.design(CELL * (2 * col + 0.5), v));
	}
	return grid;
}

// The profile's inner knots as 3D lines across the DEM, from the centre of
// its first column to that of its last, with a vertex every tenth of the side.
void writeBreaklines(const Site& site, const std::string& path, const std::string& crs)
{
	VectorLayerOutput out(path, "breaklines", GeometryKind::LINE_Z, crs, {{"kind", FieldType::STRING}});
	const char* aKinds[] = {"terrace edge", "valley floor", "terrace edge"};
	for(size_t k = 1; k + 1 < NUM_KNOTS; ++k)
	{
		double v(site.vKnotV[k]);
		std::vector<Point2> vLine;
		vLine.emplace_back(ORIGIN_X + CELL / 2, ORIGIN_Y + v, site.ground(CELL / 2, v));
		for(int i = 1; i < 10; ++i) vLine.emplace_back(ORIGIN_X + site.at(2 * i), ORIGIN_Y + v, site.ground(site.at(2 * i), v));
		vLine.emplace_back(ORIGIN_X + site.side - CELL / 2, ORIGIN_Y + v, site.ground(site.side - CELL / 2, v));
		out.addLine(vLine, {FieldValue::ofText(aKinds[k - 1])});
	}
	out.commit();
}

// Random points inside the boundary, to the millimetre, with the ground's
// height there as the surveyor's reference.
void writeStakeout(const Site& site, unsigned seed, const std::string& path, const std::string& crs)
{
	VectorLayerOutput out(path, "stakeout", GeometryKind::POINT, crs, {{"name", FieldType::STRING}, {"known_height", FieldType::REAL}});
	std::vector<Point2> vCandidates;
	MIREL25D::generateRandomPoints(NUM_STAKEOUT_POINTS * 4, site.at(2), site.at(18), vCandidates, seed);
	size_t numWritten(0);
	for(const Point2& c : vCandidates)
	{
		double u(std::round(c.x() * 1000.0) / 1000.0), v(std::round(c.y() * 1000.0) / 1000.0);
		bool bInOuter(false), bInHole(false);
		for(const SignedRect& rect : boundaryRects(site))
		{
			if(u > rect.u0 && u < rect.u1 && v > rect.v0 && v < rect.v1) (rect.sign > 0 ? bInOuter : bInHole) = true;
		}
		if(!bInOuter || bInHole || numWritten == NUM_STAKEOUT_POINTS) continue;
		std::ostringstream name;
		name << "P" << std::setw(2) << std::setfill('0') << ++numWritten;
		out.addPoint(Point2(ORIGIN_X + u, ORIGIN_Y + v, 0.0), {FieldValue::ofText(name.str()), FieldValue::ofReal(site.ground(u, v))});
	}
	out.commit();
}

// Two road centre lines in 2D: a winding road through the site along a sine
// of random amplitude, and a straight access road.
void writeRoads(const Site& site, unsigned seed, const std::string& path, const std::string& crs)
{
	std::vector<double> vRandom;
	MIREL25D::generateRandomNumbers(1, 0.02, 0.06, vRandom, seed);
	std::vector<MIREL25D::Segment2> vSegments;
	const int numSegments(64);
	MIREL25D::generateSineSegments(numSegments, 1, ORIGIN_X + site.at(3), ORIGIN_Y + site.at(7), site.at(14) / (2.0 * M_PI), site.side * vRandom[0], false, vSegments);
	VectorLayerOutput out(path, "roads", GeometryKind::LINE, crs, {{"name", FieldType::STRING}});
	std::vector<Point2> vRoad{vSegments.front().getSrc()};
	for(const MIREL25D::Segment2& seg : vSegments) vRoad.push_back(seg.getTrg());
	out.addLine(vRoad, {FieldValue::ofText("valley road")});
	out.addLine({Point2(ORIGIN_X + site.at(4), ORIGIN_Y + site.at(1), 0.0), Point2(ORIGIN_X + site.at(10), ORIGIN_Y + site.at(16), 0.0)}, {FieldValue::ofText("access road")});
	out.commit();
}

std::string formatNumber(double value)
{
	std::ostringstream oss;
	oss << std::setprecision(17) << value;
	return oss.str();
}

void writeKnownValues(const Site& site, const KnownVolumes& known, const std::string& folder)
{
	PendingFile file(folder, "known_values.txt");
	{
		std::ofstream out(file.getTempPath());
		out << "# The synthetic site of 'mirel generate'. With u = x - origin_x and v = y - origin_y:\n"
			<< "#   design z = design_z0 + design_du * u + design_dv * v\n"
			<< "#   ground z = design z + the profile, linear in v between the knots (v h)\n"
			<< "# Cut (ground above design) and fill volumes (m3) and areas (m2) over site.gpkg.\n"
			<< "origin_x " << formatNumber(ORIGIN_X) << "\norigin_y " << formatNumber(ORIGIN_Y) << "\n"
			<< "design_z0 " << formatNumber(DESIGN_Z0) << "\ndesign_du " << formatNumber(DESIGN_DU) << "\ndesign_dv " << formatNumber(DESIGN_DV) << "\n"
			<< "profile";
		for(size_t k = 0; k < NUM_KNOTS; ++k) out << " " << formatNumber(site.vKnotV[k]) << " " << formatNumber(site.vKnotH[k]);
		out << "\ncut_volume " << formatNumber(known.cut) << "\nfill_volume " << formatNumber(known.fill) << "\ncut_area " << formatNumber(known.cutArea)
			<< "\nfill_area " << formatNumber(known.fillArea) << "\n";
		if(!out.flush()) throw OutputError{file.getFinalPath() + ": can't be written"};
	}
	file.commit();
}

void generate(const ParsedOptions& opts, Summary& summary)
{
	if(!opts.getPositional().empty()) throw UsageError{"generate takes no input file ('" + opts.getPositional()[0] + "')"};
	const std::string folder(opts.get("output-dir", DEFAULT_OUTPUT_FOLDER));
	if(folder.empty()) throw UsageError{"--output-dir needs a folder name"};
	const int numCells(int(opts.getInteger("size", 200, 20, 20000)));
	const unsigned seed(unsigned(opts.getInteger("seed", 1, 1, 2147483647LL)));
	if(!haveGdal()) throw InputError{"generate writes GeoTIFF and GeoPackage files, and this mirel was built without GDAL"};
	prepareOutputFolder(folder);
	const Site site(numCells);
	const std::string crs(crsFromEpsg(EPSG_ETRS89_UTM32N));
	auto path = [&](const char* name) { return (std::filesystem::path(folder) / name).string(); };
	writeGeoTiff(path("dem.tif"), groundGrid(site, numCells), crs);
	writeGeoTiff(path("design.tif"), designGrid(site, numCells), crs);
	{
		VectorLayerOutput out(path("site.gpkg"), "site", GeometryKind::POLYGON, crs, {{"name", FieldType::STRING}});
		out.addPolygon(boundaryPolygon(site), {FieldValue::ofText("site")});
		out.commit();
	}
	writeBreaklines(site, path("breaklines.gpkg"), crs);
	writeStakeout(site, seed, path("stakeout.gpkg"), crs);
	writeRoads(site, seed, path("roads.gpkg"), crs);
	const KnownVolumes known(knownVolumes(site));
	writeKnownValues(site, known, folder);

	summary.addText("folder", folder);
	summary.addCount("cells_per_side", (unsigned long long)numCells);
	summary.add("cell_size", CELL);
	summary.addText("crs", "EPSG:" + std::to_string(EPSG_ETRS89_UTM32N));
	summary.addText("files", "dem.tif design.tif site.gpkg breaklines.gpkg stakeout.gpkg roads.gpkg known_values.txt");
	summary.add("cut_volume", known.cut);
	summary.add("cut_area", known.cutArea);
	summary.add("fill_volume", known.fill);
	summary.add("fill_area", known.fillArea);
}
} // namespace

const Command generateCommand{"generate", "write the walkthrough's synthetic site: DEM and design surface (GeoTIFF), boundary, breaklines, points, roads",
	"[OPTIONS]", optionSpecs, generate};

} // namespace mireltool
