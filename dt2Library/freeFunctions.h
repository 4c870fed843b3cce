#pragma once
// The library's free functions: version queries, point and segment files, and
// generators of reproducible test input.
#include "MirelExportMacro.h"
#include "Point2.h"
#include <cstddef>
#include <vector>

namespace MIREL25D {

class Segment2;

// "Mirel2D 1.85.538 RELEASE", built once when the library is loaded.
MIREL_API const char* getMirel2DVersion();
MIREL_API int getMajorVersionNumber();
MIREL_API int getMinorVersionNumber();
MIREL_API int getRevisionNumber();
MIREL_API bool isRelease();

// Point and segment files. Readers append to the vector; all of them report a
// problem on standard output and return false, none throws.
//
// Binary files are little-endian: a 32-bit type, a 64-bit count, then doubles.
// Point files have type 20 (x, y) or 30 (x, y, z), segment files type 21 or 31
// (source then target). The writers always write the 3D types 30 and 31.
MIREL_API bool readXY(const char* filename, std::vector<Point2>& vPoints);
MIREL_API bool readXYZ(const char* filename, std::vector<Point2>& vPoints);
MIREL_API bool readPointsBIN(const char* filename, std::vector<Point2>& vPoints);
MIREL_API bool readSegmentsBIN(const char* filename, std::vector<Segment2>& vSegments);
// One line "x y z" per point, 18 significant digits so that doubles survive.
MIREL_API bool writePointsASCII(const char* filename, const std::vector<Point2*>& vPoints);
MIREL_API bool writePointsASCII(const char* filename, const std::vector<Point2>& vPoints);
MIREL_API bool writePointsBIN(const char* filename, std::vector<Point2*>& vPoints);
MIREL_API bool writePointsBIN(const char* filename, std::vector<Point2>& vPoints);
MIREL_API bool writeSegmentsBIN(const char* filename, std::vector<Segment2>& vSegments);

// Test input generators. A non-zero seed gives the same result on every
// platform (the library's own 15-bit generator, not the C library's); seed 0
// draws from the clock, and unseeded calls within one second still differ.
// Empty or inverted ranges are assertion failures.
//
// num numbers in [min, max).
MIREL_API void generateRandomNumbers(size_t num, double min, double max, std::vector<double>& vRandomNumbers, unsigned seed = 0);
// Appends points with x and y in [min, max), z = 0.
MIREL_API void generateRandomPoints(size_t numRandomPoints, double min, double max, std::vector<Point2>& vRandomPoints, unsigned seed = 0);
// Appends points with x, y and z in [min, max).
MIREL_API void generateRandomPoints3D(size_t numRandomPoints, double min, double max, std::vector<Point2>& vRandomPoints, unsigned seed = 0);
// Appends numPoints points on the axis-parallel ellipse around (x, y) at height z.
MIREL_API void generateCircle(int numPoints, double x, double y, double z, double radiusX, double radiusY, std::vector<Point2>& vCirclePointsOut);
// (x, y, z) becomes (x + shearX*y, y + shearY*x, z); custom indices are dropped.
MIREL_API void shear(std::vector<Point2>& vPoints, double shearX, double shearY);
// Appends segments inside the square [min, max]^2 whose length is in (0, maxLen].
MIREL_API void generateRandomSegments(size_t numSegments, double min, double max, double maxLen, std::vector<Segment2>& vSegmentsOut, unsigned seed = 0);
// Appends a counterclockwise ring of numSegments segments (at least 3) that
// bounds a simple star-shaped polygon inside the square [min, max]^2.
MIREL_API void generateRandomPolygon(size_t numSegments, double min, double max, std::vector<Segment2>& vPolygonOut, unsigned seed = 0);
// Appends a numX x numY grid over [xmin, xmax] x [ymin, ymax] (rows of equal y)
// whose heights, a sum of numCenters Gaussian bumps of random weight, are
// scaled to span [zmin, zmax].
MIREL_API void generateRandomSurfacePoints(size_t numX, size_t numY, size_t numCenters, double xmin, double ymin, double zmin, double xmax, double ymax, double zmax,
	std::vector<Point2>& vSurfacePointsOut, unsigned seed = 0);
// Appends a polyline of numSegments segments along numPeriods periods of a sine:
// vertex i is (xOffset + xFactor*a, yOffset + yFactor*sin(a)) with a = i*step,
// x and y exchanged when bSwapXY is set.
MIREL_API void generateSineSegments(int numSegments, int numPeriods, double xOffset, double yOffset, double xFactor, double yFactor, bool bSwapXY,
	std::vector<Segment2>& vSineSegmentsOut);

} // namespace MIREL25D
