// The tool's GIS data layer. The parts that need no GDAL (format choice by
// extension, attribute values, plain point files) come first; the GDAL/OGR
// readers and the layer writer follow, or, in a build without GDAL, functions
// that say so.
#include "GeoData.h"
#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#ifdef MIREL_WITH_GDAL
#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>
#include <ogrsf_frmts.h>
#endif

namespace mireltool {

using MIREL25D::Point2;
namespace fs = std::filesystem;

FieldValue FieldValue::ofInteger(long long v)
{
	FieldValue value;
	value.integer = v;
	return value;
}

FieldValue FieldValue::ofReal(double v)
{
	FieldValue value;
	value.real = v;
	return value;
}

FieldValue FieldValue::ofText(const std::string& v)
{
	FieldValue value;
	value.text = v;
	return value;
}

namespace {
std::string lowerExtension(const std::string& filename)
{
	std::string ext(fs::path(filename).extension().string());
	std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return char(std::tolower(c)); });
	return ext;
}

// Extensions of the plain point files, which PointInput reads without GDAL.
// GDAL would open some of them itself (.xyz as a gridded raster), so they
// never reach it.
bool isPointFileName(const std::string& filename)
{
	static const char* aPointExtensions[] = {"", ".txt", ".xyz", ".xy", ".pts", ".dat", ".bin"};
	std::string ext(lowerExtension(filename));
	for(const char* pointExt : aPointExtensions)
	{
		if(ext == pointExt) return true;
	}
	return false;
}
} // namespace

std::string driverForFile(const std::string& filename)
{
	std::string ext(lowerExtension(filename));
	if(ext == ".gpkg") return "GPKG";
	if(ext == ".geojson" || ext == ".json") return "GeoJSON";
	if(ext == ".shp") return "ESRI Shapefile";
	if(ext == ".dxf") return "DXF";
	if(ext == ".csv") return "CSV";
	throw InputError{filename + ": unknown format '" + ext + "' for a vector output (use .gpkg, .geojson, .json, .shp, .dxf or .csv)"};
}

#ifdef MIREL_WITH_GDAL

bool haveGdal()
{
	return true;
}

namespace {
// GDAL prints its warnings and errors on standard error by default; the tool
// reports one line per failure itself, from the last error GDAL recorded.
void registerGdalOnce()
{
	static const bool bRegistered = [] {
		CPLSetErrorHandler(CPLQuietErrorHandler);
		// WKT coordinates (the CSV geometry column) with every digit of a
		// double, not rounded to 15.
		CPLSetConfigOption("OGR_WKT_PRECISION", "17");
		CPLSetConfigOption("OGR_WKT_ROUND", "FALSE");
		GDALAllRegister();
		return true;
	}();
	(void)bRegistered;
}

std::string lastGdalError()
{
	std::string message(CPLGetLastErrorMsg());
	std::replace(message.begin(), message.end(), '\n', ' ');
	return message;
}

[[noreturn]] void failInput(const std::string& filename, const std::string& problem)
{
	throw InputError{filename + ": " + problem};
}

struct DatasetCloser
{
	void operator()(GDALDataset* pDs) const { GDALClose(GDALDataset::ToHandle(pDs)); }
};
using DatasetPtr = std::unique_ptr<GDALDataset, DatasetCloser>;

void checkExists(const std::string& filename)
{
	std::error_code ec;
	fs::file_status status(fs::status(filename, ec));
	if(ec || !fs::exists(status)) failInput(filename, "no such file");
	if(fs::is_directory(status) && lowerExtension(filename) != ".gdb") failInput(filename, "is a folder, not a data file");
}

DatasetPtr openDataset(const std::string& filename, unsigned kindFlags)
{
	registerGdalOnce();
	checkExists(filename);
	// A CSV file of surveyed points names its columns rather than holding
	// geometries: the usual names of the coordinate columns make it a point layer.
	CPLStringList openOptions;
	if(lowerExtension(filename) == ".csv")
	{
		openOptions.SetNameValue("X_POSSIBLE_NAMES", "x,easting,east,e,lon,longitude");
		openOptions.SetNameValue("Y_POSSIBLE_NAMES", "y,northing,north,n,lat,latitude");
		openOptions.SetNameValue("Z_POSSIBLE_NAMES", "z,height,elevation,h,alt,altitude");
	}
	CPLErrorReset();
	return DatasetPtr(GDALDataset::Open(filename.c_str(), kindFlags | GDAL_OF_READONLY, nullptr, openOptions.List()));
}

// A file GDAL recognised but could not open has its own reason; one that no
// driver claimed is of an unknown format.
[[noreturn]] void failOpen(const std::string& filename, const std::string& unknownFormat)
{
	std::string reason(lastGdalError());
	if(!reason.empty() && CPLGetLastErrorType() >= CE_Failure) failInput(filename, "can't be read (" + reason + ")");
	failInput(filename, unknownFormat);
}

std::string crsOf(const OGRSpatialReference* pSrs)
{
	if(pSrs == nullptr) return std::string();
	char* pWkt(nullptr);
	if(pSrs->exportToWkt(&pWkt) != OGRERR_NONE)
	{
		CPLFree(pWkt);
		return std::string();
	}
	std::string wkt(pWkt);
	CPLFree(pWkt);
	return wkt;
}

std::string cellCount(long long n)
{
	return std::to_string(n) + (n == 1 ? " cell" : " cells");
}

// Every valid cell centre of the first band; the mask band tells validity
// (nodata values, alpha bands and mask files alike), and cells that hold no
// finite number count as invalid too.
TerrainSource readRaster(const std::string& filename, GDALDataset& ds, int thinning, std::vector<Point2>& vPoints)
{
	GDALRasterBand* pBand(ds.GetRasterBand(1));
	const int numCols(ds.GetRasterXSize()), numRows(ds.GetRasterYSize());
	double aTransform[6] = {0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
	bool bGeoreferenced(ds.GetGeoTransform(aTransform) == CE_None);
	// Heights stored as scaled integers (or with an offset) become metres.
	int bHasScale(FALSE), bHasOffset(FALSE);
	const double scale(pBand->GetScale(&bHasScale)), offset(pBand->GetOffset(&bHasOffset));
	const bool bScaled((bHasScale && scale != 1.0) || (bHasOffset && offset != 0.0));
	GDALRasterBand* pMask(pBand->GetMaskBand());
	const bool bAllValid((pBand->GetMaskFlags() & GMF_ALL_VALID) != 0);

	std::vector<double> vRow(static_cast<size_t>(numCols));
	std::vector<unsigned char> vMaskRow(static_cast<size_t>(numCols), 255);
	size_t numBefore(vPoints.size());
	long long numInvalid(0);
	for(int row = 0; row < numRows; row += thinning)
	{
		if(pBand->RasterIO(GF_Read, 0, row, numCols, 1, vRow.data(), numCols, 1, GDT_Float64, 0, 0) != CE_None ||
			(!bAllValid && pMask->RasterIO(GF_Read, 0, row, numCols, 1, vMaskRow.data(), numCols, 1, GDT_Byte, 0, 0) != CE_None))
		{
			failInput(filename, "row " + std::to_string(row + 1) + " of the raster can't be read (" + lastGdalError() + ")");
		}
		for(int col = 0; col < numCols; col += thinning)
		{
			const double z(bScaled ? vRow[size_t(col)] * scale + offset : vRow[size_t(col)]);
			if(vMaskRow[size_t(col)] == 0 || !std::isfinite(z))
			{
				++numInvalid;
				continue;
			}
			const double cx(col + 0.5), cy(row + 0.5);
			vPoints.emplace_back(aTransform[0] + cx * aTransform[1] + cy * aTransform[2], aTransform[3] + cx * aTransform[4] + cy * aTransform[5], z);
		}
	}
	const long long numRead(static_cast<long long>(vPoints.size() - numBefore));
	if(numRead == 0) failInput(filename, "the raster has no valid cell (all " + cellCount(numInvalid) + " are nodata)");

	TerrainSource source;
	source.description = std::string(ds.GetDriver()->GetDescription()) + " raster " + std::to_string(numCols) + " x " + std::to_string(numRows) + " cells";
	if(thinning > 1) source.description += ", every " + std::to_string(thinning) + ". row and column";
	if(numInvalid > 0) source.description += ", " + std::to_string(numInvalid) + " nodata";
	if(!bGeoreferenced) source.description += ", not georeferenced";
	source.crsWkt = crsOf(ds.GetSpatialRef());
	source.cellSize = std::max(std::hypot(aTransform[1], aTransform[4]), std::hypot(aTransform[2], aTransform[5]));
	return source;
}

// Collects one geometry into the vectors of VectorData; multi-geometries and
// collections are split into their parts, curves approximated by lines.
class GeometryCollector
{
public:
	GeometryCollector(const std::string& filename_, VectorData& data_) : filename(filename_), data(data_) {}

	void add(const OGRGeometry* pGeom, GIntBig fid)
	{
		if(pGeom == nullptr || pGeom->IsEmpty()) return;
		featureId = fid;
		if(pGeom->Is3D()) data.bHasZ = true;
		if(pGeom->hasCurveGeometry())
		{
			std::unique_ptr<OGRGeometry> pLinear(pGeom->getLinearGeometry());
			if(pLinear) addLinear(pLinear.get());
			return;
		}
		addLinear(pGeom);
	}

private:
	void addLinear(const OGRGeometry* pGeom)
	{
		switch(wkbFlatten(pGeom->getGeometryType()))
		{
			case wkbPoint:
			{
				const OGRPoint* pPoint(pGeom->toPoint());
				data.vPoints.push_back(checked(pPoint->getX(), pPoint->getY(), pPoint->getZ()));
				break;
			}
			case wkbLineString:
			case wkbLinearRing:
			{
				std::vector<Point2> vLine(points(pGeom->toLineString()));
				if(!vLine.empty()) data.vLines.push_back(std::move(vLine));
				break;
			}
			case wkbPolygon:
			case wkbTriangle:
				addPolygon(pGeom->toCurvePolygon());
				break;
			case wkbMultiPoint:
			case wkbMultiLineString:
			case wkbMultiPolygon:
			case wkbGeometryCollection:
				for(const OGRGeometry* pPart : *pGeom->toGeometryCollection()) add(pPart, featureId);
				break;
			case wkbPolyhedralSurface:
			case wkbTIN:
				for(const OGRPolygon* pPart : *pGeom->toPolyhedralSurface()) add(pPart, featureId);
				break;
			default:
				fail(std::string("geometry type ") + OGRGeometryTypeToName(pGeom->getGeometryType()) + " is not supported");
		}
	}

	void addPolygon(const OGRCurvePolygon* pPolygon)
	{
		PolygonRings rings;
		bool bOuter(true);
		for(const OGRCurve* pRing : *pPolygon)
		{
			std::vector<Point2> vRing(points(pRing->toSimpleCurve()));
			if(vRing.empty()) continue;
			if(vRing.size() < 4 || !samePosition(vRing.front(), vRing.back())) fail("a polygon ring is not closed");
			vRing.pop_back();
			if(bOuter) rings.vOuter = std::move(vRing);
			else rings.vHoles.push_back(std::move(vRing));
			bOuter = false;
		}
		if(!rings.vOuter.empty()) data.vPolygons.push_back(std::move(rings));
	}

	std::vector<Point2> points(const OGRSimpleCurve* pCurve)
	{
		std::vector<Point2> vPoints;
		vPoints.reserve(size_t(pCurve->getNumPoints()));
		for(int i = 0; i < pCurve->getNumPoints(); ++i) vPoints.push_back(checked(pCurve->getX(i), pCurve->getY(i), pCurve->getZ(i)));
		return vPoints;
	}

	static bool samePosition(const Point2& a, const Point2& b) { return a.x() == b.x() && a.y() == b.y(); }

	Point2 checked(double x, double y, double z)
	{
		if(!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) fail("a coordinate is not a finite number");
		return Point2(x, y, z);
	}

	[[noreturn]] void fail(const std::string& problem) { failInput(filename, "feature " + std::to_string(featureId) + ": " + problem); }

	const std::string& filename;
	VectorData& data;
	GIntBig featureId = 0;
};

VectorData readVectorLayers(const std::string& filename, GDALDataset& ds)
{
	VectorData data;
	GeometryCollector collector(filename, data);
	size_t numFeatures(0);
	for(OGRLayer* pLayer : ds.GetLayers())
	{
		if(data.crsWkt.empty()) data.crsWkt = crsOf(pLayer->GetSpatialRef());
		pLayer->ResetReading();
		CPLErrorReset();
		for(auto& pFeature : *pLayer)
		{
			for(int i = 0; i < pFeature->GetGeomFieldCount(); ++i) collector.add(pFeature->GetGeomFieldRef(i), pFeature->GetFID());
			++numFeatures;
		}
		if(CPLGetLastErrorType() >= CE_Failure) failInput(filename, "can't be read (" + lastGdalError() + ")");
	}
	if(data.vLines.empty() && data.vPolygons.empty() && data.vPoints.empty())
	{
		failInput(filename, numFeatures == 0 ? "no features" : "no features with a geometry");
	}
	return data;
}
} // namespace

TerrainSource readTerrainPoints(const std::string& filename, PointFormat format, int thinning, std::vector<Point2>& vPoints)
{
	if(thinning < 1) thinning = 1;
	if(format != PointFormat::AUTO || isPointFileName(filename))
	{
		TerrainSource source;
		source.description = readPointFile(filename, format, vPoints);
		return source;
	}
	// GDAL would read a CSV file of points as a gridded raster (XYZ) first.
	DatasetPtr pDs(openDataset(filename, lowerExtension(filename) == ".csv" ? GDAL_OF_VECTOR : GDAL_OF_RASTER | GDAL_OF_VECTOR));
	if(!pDs)
	{
		// A point file with an unusual extension still reads; anything else
		// is a format neither the tool nor GDAL knows.
		try
		{
			std::vector<Point2> vFilePoints;
			TerrainSource source;
			source.description = readPointFile(filename, format, vFilePoints);
			vPoints.insert(vPoints.end(), vFilePoints.begin(), vFilePoints.end());
			return source;
		}
		catch(const InputError&)
		{
			failOpen(filename, "unknown format (neither a point file nor a raster or vector file GDAL reads)");
		}
	}
	if(pDs->GetRasterCount() > 0) return readRaster(filename, *pDs, thinning, vPoints);
	VectorData data(readVectorLayers(filename, *pDs));
	if(data.vPoints.empty()) failInput(filename, "no point features (terrain points are read from points only)");
	vPoints.insert(vPoints.end(), data.vPoints.begin(), data.vPoints.end());
	TerrainSource source;
	source.description = std::string(pDs->GetDriver()->GetDescription()) + " points" + (data.bHasZ ? " with z" : " without z");
	source.crsWkt = data.crsWkt;
	return source;
}

VectorData readVectorFile(const std::string& filename)
{
	DatasetPtr pDs(openDataset(filename, GDAL_OF_VECTOR));
	if(!pDs) failOpen(filename, "unknown format (not a vector file GDAL reads)");
	return readVectorLayers(filename, *pDs);
}

// ---- Writing ----

namespace {
// Each layer stages its files in a folder of its own beside the final file:
// a Shapefile is several files, and GeoPackage writes journals next to its
// database; all of them move into place together.
std::string makeStagingFolder(const std::string& parent, const std::string& finalPath)
{
	static unsigned counter(0);
	std::string folder((fs::path(parent) / (".mirel-tmp-" + std::to_string(getpid()) + "-" + std::to_string(++counter))).string());
	std::error_code ec;
	fs::create_directory(folder, ec);
	if(ec) throw OutputError{finalPath + ": can't be written (" + ec.message() + ")"};
	return folder;
}

OGRwkbGeometryType ogrType(GeometryKind kind)
{
	switch(kind)
	{
		case GeometryKind::POINT_Z:
			return wkbPoint25D;
		case GeometryKind::LINE:
			return wkbLineString;
		case GeometryKind::LINE_Z:
			return wkbLineString25D;
		case GeometryKind::POLYGON:
			return wkbPolygon;
		case GeometryKind::POINT:
			return wkbPoint;
	}
	return wkbUnknown;
}

OGRFieldType ogrType(FieldType type)
{
	switch(type)
	{
		case FieldType::INTEGER:
			return OFTInteger64;
		case FieldType::REAL:
			return OFTReal;
		case FieldType::STRING:
			return OFTString;
	}
	return OFTString;
}

// Moves every file of the staging folder beside the final file and removes
// the folder.
void moveStagedFiles(const std::string& stagingFolder, const std::string& finalPath)
{
	std::error_code ec;
	fs::path parent(fs::path(finalPath).parent_path());
	for(const fs::directory_entry& entry : fs::directory_iterator(stagingFolder, ec))
	{
		fs::path target(parent / entry.path().filename());
		fs::rename(entry.path(), target, ec);
		if(ec) throw OutputError{target.string() + ": can't be written (" + ec.message() + ")"};
	}
	if(ec) throw OutputError{finalPath + ": can't be written (" + ec.message() + ")"};
	fs::remove(stagingFolder, ec);
}

std::string parentFolder(const std::string& finalPath)
{
	std::string parent(fs::path(finalPath).parent_path().string());
	return parent.empty() ? "." : parent;
}

void fillRing(const std::vector<Point2>& vRing, OGRLinearRing& ring)
{
	for(const Point2& p : vRing) ring.addPoint(p.x(), p.y());
	if(!vRing.empty()) ring.addPoint(vRing.front().x(), vRing.front().y());
}
} // namespace

struct VectorLayerOutput::Impl
{
	std::string finalPath;
	std::string driverName;
	std::string stagingFolder;
	std::string crsWkt;
	GeometryKind kind = GeometryKind::LINE;
	DatasetPtr pDs;
	OGRLayer* pLayer = nullptr;
	std::vector<FieldDef> vFields;
	std::vector<int> vFieldIndex; // -1 where the format keeps no such column (DXF)
	size_t numFeatures = 0;
	bool bCommitted = false;

	[[noreturn]] void fail(const std::string& what) const { throw OutputError{finalPath + ": " + what + " (" + lastGdalError() + ")"}; }

	void addFeature(std::unique_ptr<OGRGeometry> pGeom, const std::vector<FieldValue>& vValues)
	{
		OGRFeature feature(pLayer->GetLayerDefn());
		for(size_t i = 0; i < vFields.size() && i < vValues.size(); ++i)
		{
			if(vFieldIndex[i] < 0) continue;
			switch(vFields[i].type)
			{
				case FieldType::INTEGER:
					feature.SetField(vFieldIndex[i], static_cast<GIntBig>(vValues[i].integer));
					break;
				case FieldType::REAL:
					feature.SetField(vFieldIndex[i], vValues[i].real);
					break;
				case FieldType::STRING:
					feature.SetField(vFieldIndex[i], vValues[i].text.c_str());
					break;
			}
		}
		feature.SetGeometryDirectly(pGeom.release());
		CPLErrorReset();
		if(pLayer->CreateFeature(&feature) != OGRERR_NONE) fail("feature " + std::to_string(numFeatures + 1) + " can't be written");
		++numFeatures;
	}

	// Formats without a place for the reference system get the Shapefile's
	// sidecar, NAME.prj, which GIS programs read beside any file.
	void writeSidecarPrj(const OGRSpatialReference& srs) const
	{
		if(driverName != "CSV" && driverName != "DXF") return;
		OGRSpatialReference esri(srs);
		char* pWkt(nullptr);
		if(esri.morphToESRI() != OGRERR_NONE || esri.exportToWkt(&pWkt) != OGRERR_NONE)
		{
			CPLFree(pWkt);
			return;
		}
		std::string prjPath((fs::path(stagingFolder) / fs::path(finalPath).stem()).string() + ".prj");
		VSILFILE* pFile(VSIFOpenL(prjPath.c_str(), "wb"));
		bool bOk(pFile != nullptr && VSIFWriteL(pWkt, 1, std::string(pWkt).size(), pFile) == std::string(pWkt).size());
		if(pFile != nullptr) bOk = VSIFCloseL(pFile) == 0 && bOk;
		CPLFree(pWkt);
		if(!bOk) throw OutputError{prjPath + ": can't be written"};
	}
};

VectorLayerOutput::VectorLayerOutput(const std::string& finalPath, const std::string& layerName, GeometryKind kind, const std::string& crsWkt,
	const std::vector<FieldDef>& vFields)
	: pImpl(new Impl)
{
	registerGdalOnce();
	Impl& impl(*pImpl);
	impl.finalPath = finalPath;
	impl.driverName = driverForFile(finalPath);
	impl.kind = kind;
	impl.crsWkt = crsWkt;
	impl.vFields = vFields;
	prepareOutputFolder(parentFolder(finalPath));
	if(fs::is_directory(finalPath)) throw OutputError{finalPath + ": is a folder"};
	impl.stagingFolder = makeStagingFolder(parentFolder(finalPath), finalPath);
	std::string tempPath((fs::path(impl.stagingFolder) / fs::path(finalPath).filename()).string());

	GDALDriver* pDriver(GetGDALDriverManager()->GetDriverByName(impl.driverName.c_str()));
	if(pDriver == nullptr) throw OutputError{finalPath + ": this GDAL has no " + impl.driverName + " driver"};
	CPLErrorReset();
	impl.pDs.reset(pDriver->Create(tempPath.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
	if(!impl.pDs) impl.fail("can't be created");

	OGRSpatialReference srs;
	bool bHaveSrs(!crsWkt.empty() && srs.importFromWkt(crsWkt.c_str()) == OGRERR_NONE);
	srs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
	CPLStringList layerOptions;
	// 17 decimals keep every digit of coordinates of 1 and above; GeoJSON's
	// significant-figures option shortens numbers that merely look rounded.
	if(impl.driverName == "GeoJSON") layerOptions.SetNameValue("COORDINATE_PRECISION", "17");
	if(impl.driverName == "CSV")
	{
		layerOptions.SetNameValue("GEOMETRY", "AS_WKT");
		layerOptions.SetNameValue("CREATE_CSVT", "YES"); // the column types, for readers
	}
	impl.pLayer = impl.pDs->CreateLayer(layerName.c_str(), bHaveSrs ? &srs : nullptr, ogrType(kind), layerOptions.List());
	if(impl.pLayer == nullptr) impl.fail("layer " + layerName + " can't be created");
	for(const FieldDef& def : vFields)
	{
		OGRFieldDefn field(def.name.c_str(), ogrType(def.type));
		// dBase stores numbers as text of a fixed width: 24 characters with
		// 10 decimals hold volumes of 1e12 and heights to far below a millimetre.
		if(impl.driverName == "ESRI Shapefile" && def.type == FieldType::REAL)
		{
			field.SetWidth(24);
			field.SetPrecision(10);
		}
		CPLErrorReset();
		if(impl.pLayer->CreateField(&field) != OGRERR_NONE && impl.driverName != "DXF") impl.fail("field " + def.name + " can't be created");
		impl.vFieldIndex.push_back(impl.pLayer->GetLayerDefn()->GetFieldIndex(def.name.c_str()));
	}
	if(bHaveSrs) impl.writeSidecarPrj(srs);
	// One transaction for the whole layer: GeoPackage otherwise commits
	// every feature on its own.
	impl.pDs->StartTransaction();
}

VectorLayerOutput::~VectorLayerOutput()
{
	if(pImpl->bCommitted) return;
	pImpl->pDs.reset();
	std::error_code ec;
	fs::remove_all(pImpl->stagingFolder, ec);
}

void VectorLayerOutput::addPoint(const Point2& p, const std::vector<FieldValue>& vValues)
{
	if(pImpl->kind == GeometryKind::POINT_Z) pImpl->addFeature(std::unique_ptr<OGRGeometry>(new OGRPoint(p.x(), p.y(), p.z())), vValues);
	else pImpl->addFeature(std::unique_ptr<OGRGeometry>(new OGRPoint(p.x(), p.y())), vValues);
}

void VectorLayerOutput::addLine(const std::vector<Point2>& vLine, const std::vector<FieldValue>& vValues)
{
	std::unique_ptr<OGRLineString> pLine(new OGRLineString);
	pLine->setNumPoints(int(vLine.size()), FALSE);
	for(size_t i = 0; i < vLine.size(); ++i)
	{
		if(pImpl->kind == GeometryKind::LINE_Z) pLine->setPoint(int(i), vLine[i].x(), vLine[i].y(), vLine[i].z());
		else pLine->setPoint(int(i), vLine[i].x(), vLine[i].y());
	}
	pImpl->addFeature(std::move(pLine), vValues);
}

void VectorLayerOutput::addPolygon(const PolygonRings& polygon, const std::vector<FieldValue>& vValues)
{
	std::unique_ptr<OGRPolygon> pPolygon(new OGRPolygon);
	OGRLinearRing outer;
	fillRing(polygon.vOuter, outer);
	pPolygon->addRing(&outer);
	for(const std::vector<Point2>& vHole : polygon.vHoles)
	{
		OGRLinearRing hole;
		fillRing(vHole, hole);
		pPolygon->addRing(&hole);
	}
	pImpl->addFeature(std::move(pPolygon), vValues);
}

size_t VectorLayerOutput::numFeatures() const
{
	return pImpl->numFeatures;
}

void VectorLayerOutput::commit()
{
	Impl& impl(*pImpl);
	CPLErrorReset();
	if(impl.pDs->CommitTransaction() == OGRERR_FAILURE) impl.fail("can't be written");
	// Closing writes what the driver still buffers (the Shapefile's index,
	// GeoJSON's closing brackets); it must succeed before anything moves.
	GDALDataset* pDs(impl.pDs.release());
	CPLErrorReset();
	GDALClose(GDALDataset::ToHandle(pDs));
	if(CPLGetLastErrorType() >= CE_Failure) impl.fail("can't be written");
	moveStagedFiles(impl.stagingFolder, impl.finalPath);
	impl.bCommitted = true;
}

const std::string& VectorLayerOutput::getFinalPath() const
{
	return pImpl->finalPath;
}

void writeGeoTiff(const std::string& finalPath, const RasterGrid& grid, const std::string& crsWkt)
{
	registerGdalOnce();
	prepareOutputFolder(parentFolder(finalPath));
	std::string stagingFolder(makeStagingFolder(parentFolder(finalPath), finalPath));
	struct StagingRemover
	{
		std::string folder;
		~StagingRemover()
		{
			std::error_code ec;
			fs::remove_all(folder, ec);
		}
	} remover{stagingFolder};
	std::string tempPath((fs::path(stagingFolder) / fs::path(finalPath).filename()).string());
	auto fail = [&](const std::string& what) { throw OutputError{finalPath + ": " + what + " (" + lastGdalError() + ")"}; };

	GDALDriver* pDriver(GetGDALDriverManager()->GetDriverByName("GTiff"));
	if(pDriver == nullptr) throw OutputError{finalPath + ": this GDAL has no GeoTIFF driver"};
	CPLStringList options;
	options.SetNameValue("COMPRESS", "DEFLATE");
	options.SetNameValue("PREDICTOR", "3"); // floating-point differences compress best
	CPLErrorReset();
	DatasetPtr pDs(pDriver->Create(tempPath.c_str(), grid.numCols, grid.numRows, 1, GDT_Float64, options.List()));
	if(!pDs) fail("can't be created");
	double aTransform[6] = {grid.left, grid.cellSize, 0.0, grid.top, 0.0, -grid.cellSize};
	pDs->SetGeoTransform(aTransform);
	OGRSpatialReference srs;
	if(!crsWkt.empty() && srs.importFromWkt(crsWkt.c_str()) == OGRERR_NONE) pDs->SetSpatialRef(&srs);
	GDALRasterBand* pBand(pDs->GetRasterBand(1));
	if(grid.bHasNodata) pBand->SetNoDataValue(grid.nodata);
	std::vector<double> vHeights(grid.vHeights);
	if(pBand->RasterIO(GF_Write, 0, 0, grid.numCols, grid.numRows, vHeights.data(), grid.numCols, grid.numRows, GDT_Float64, 0, 0) != CE_None)
	{
		fail("can't be written");
	}
	CPLErrorReset();
	pDs.reset();
	if(CPLGetLastErrorType() >= CE_Failure) fail("can't be written");
	moveStagedFiles(stagingFolder, finalPath);
}

std::string crsFromEpsg(int code)
{
	registerGdalOnce();
	OGRSpatialReference srs;
	if(srs.importFromEPSG(code) != OGRERR_NONE) throw InputError{"EPSG:" + std::to_string(code) + ": unknown reference system"};
	return crsOf(&srs);
}

#else // built without GDAL

bool haveGdal()
{
	return false;
}

namespace {
[[noreturn]] void failWithoutGdal(const std::string& filename)
{
	throw InputError{filename + ": this mirel was built without GDAL, it reads and writes plain point files only"};
}
} // namespace

TerrainSource readTerrainPoints(const std::string& filename, PointFormat format, int, std::vector<Point2>& vPoints)
{
	// Any file that is not obviously a GIS format is tried as a point file,
	// whose reader then names the problem.
	if(format == PointFormat::AUTO && !isPointFileName(filename))
	{
		static const char* aGisExtensions[] = {".tif", ".tiff", ".gpkg", ".geojson", ".json", ".shp", ".dxf", ".csv", ".asc", ".img", ".vrt"};
		for(const char* ext : aGisExtensions)
		{
			if(lowerExtension(filename) == ext) failWithoutGdal(filename);
		}
	}
	TerrainSource source;
	source.description = readPointFile(filename, format, vPoints);
	return source;
}

VectorData readVectorFile(const std::string& filename)
{
	failWithoutGdal(filename);
}

struct VectorLayerOutput::Impl
{
};

VectorLayerOutput::VectorLayerOutput(const std::string& finalPath, const std::string&, GeometryKind, const std::string&, const std::vector<FieldDef>&)
{
	driverForFile(finalPath);
	failWithoutGdal(finalPath);
}

VectorLayerOutput::~VectorLayerOutput() = default;

void VectorLayerOutput::addPoint(const Point2&, const std::vector<FieldValue>&) {}
void VectorLayerOutput::addLine(const std::vector<Point2>&, const std::vector<FieldValue>&) {}
void VectorLayerOutput::addPolygon(const PolygonRings&, const std::vector<FieldValue>&) {}
size_t VectorLayerOutput::numFeatures() const
{
	return 0;
}
void VectorLayerOutput::commit() {}
const std::string& VectorLayerOutput::getFinalPath() const
{
	static const std::string none;
	return none;
}

void writeGeoTiff(const std::string& finalPath, const RasterGrid&, const std::string&)
{
	failWithoutGdal(finalPath);
}

std::string crsFromEpsg(int code)
{
	failWithoutGdal("EPSG:" + std::to_string(code));
}

#endif

} // namespace mireltool
