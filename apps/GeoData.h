#pragma once
// Geographic data in and out of the tool: raster DEMs and vector layers read
// through GDAL/OGR into the library's types, and results written as vector
// layers in the format the file name's extension chooses, carrying the
// input's coordinate reference system. Plain point files (x y z text, binary
// point files) need no GDAL and go through PointInput. Without GDAL at build
// time every GDAL-backed function throws InputError saying so.
//
// Every reader throws InputError with one line naming the file and the problem;
// every writer stages its files (a Shapefile is several) and moves them into
// place only when the layer is complete, or throws OutputError.
#include "OutputFiles.h"
#include "Point2.h"
#include "PointInput.h"
#include <memory>
#include <string>
#include <vector>

namespace mireltool {

// Whether the tool was built with GDAL/OGR.
bool haveGdal();

// A polygon as rings without the closing repetition of the first point.
struct PolygonRings
{
	std::vector<MIREL25D::Point2> vOuter;
	std::vector<std::vector<MIREL25D::Point2>> vHoles;
};

// Every feature of every layer of a vector file, split by geometry kind.
// Multi-geometries are split into their parts; z is kept where the geometry
// has it (bHasZ), otherwise z is 0.
struct VectorData
{
	std::vector<std::vector<MIREL25D::Point2>> vLines;
	std::vector<PolygonRings> vPolygons;
	std::vector<MIREL25D::Point2> vPoints;
	bool bHasZ = false;
	std::string crsWkt; // empty when the file names no reference system
};

// What the terrain input of a command was read from.
struct TerrainSource
{
	std::string description; // "GeoTIFF raster 1000 x 800 cells, 12 nodata", "text x y z", ...
	std::string crsWkt;      // empty for point files
	double cellSize = 0.0;   // raster input: the larger cell side; 0 otherwise
};

// Terrain points from a point file (text or binary, as PointInput reads them),
// a raster DEM (every valid cell centre becomes a point with the cell value as
// height, nodata cells skipped; thinning k > 1 keeps every k-th row and
// column) or the points of a vector file. Appends to vPoints. A raster with no
// valid cell, an unknown format and an empty file are InputErrors.
TerrainSource readTerrainPoints(const std::string& filename, PointFormat format, int thinning, std::vector<MIREL25D::Point2>& vPoints);

// Reads a vector file (any format OGR opens). Throws InputError.
VectorData readVectorFile(const std::string& filename);

// One attribute column of an output layer.
enum class FieldType
{
	INTEGER,
	REAL,
	STRING
};
struct FieldDef
{
	std::string name;
	FieldType type;
};
// One attribute value; the member that matches the column's type is used.
struct FieldValue
{
	long long integer = 0;
	double real = 0.0;
	std::string text;
	static FieldValue ofInteger(long long v);
	static FieldValue ofReal(double v);
	static FieldValue ofText(const std::string& v);
};

enum class GeometryKind
{
	POINT_Z,
	LINE,   // 2D LineString
	LINE_Z, // LineString Z
	POLYGON, // 2D polygon with holes
	POINT // 2D point
};

// The OGR driver a file name's extension chooses: .gpkg GeoPackage, .geojson
// and .json GeoJSON, .shp ESRI Shapefile, .dxf DXF, .csv CSV (geometry as
// WKT). Throws InputError for any other extension ("unknown format").
std::string driverForFile(const std::string& filename);

// A vector layer written into the output folder. Coordinates keep the full
// precision of a double (binary in GeoPackage and Shapefile, 17 digits in
// GeoJSON and CSV text); DXF stores 15 significant digits. CSV and DXF, which
// have no place for a reference system, get NAME.prj beside them.
class VectorLayerOutput
{
public:
	// finalPath names the file (its extension picks the driver); the files are
	// staged beside it. Throws InputError (unknown format) or OutputError.
	VectorLayerOutput(const std::string& finalPath, const std::string& layerName, GeometryKind kind, const std::string& crsWkt,
		const std::vector<FieldDef>& vFields);
	~VectorLayerOutput(); // removes the staged files unless committed
	VectorLayerOutput(const VectorLayerOutput&) = delete;
	VectorLayerOutput& operator=(const VectorLayerOutput&) = delete;

	void addPoint(const MIREL25D::Point2& p, const std::vector<FieldValue>& vValues);
	void addLine(const std::vector<MIREL25D::Point2>& vLine, const std::vector<FieldValue>& vValues);
	void addPolygon(const PolygonRings& polygon, const std::vector<FieldValue>& vValues);
	size_t numFeatures() const;
	// Closes the dataset and moves its files into place. Throws OutputError.
	void commit();
	const std::string& getFinalPath() const;

private:
	struct Impl;
	std::unique_ptr<Impl> pImpl;
};

// A north-up grid of heights for writing as a raster.
struct RasterGrid
{
	int numCols = 0;
	int numRows = 0;
	double left = 0.0; // west edge of the first column
	double top = 0.0; // north edge of the first row
	double cellSize = 1.0;
	std::vector<double> vHeights; // row by row from the north, numCols per row
	bool bHasNodata = false;
	double nodata = 0.0;
};

// Writes the grid as a single-band Float64 GeoTIFF with the reference
// system, staged and moved into place when complete. Throws OutputError
// (InputError in a build without GDAL).
void writeGeoTiff(const std::string& finalPath, const RasterGrid& grid, const std::string& crsWkt);

// The WKT of the reference system with this EPSG code. Throws InputError.
std::string crsFromEpsg(int code);

} // namespace mireltool
