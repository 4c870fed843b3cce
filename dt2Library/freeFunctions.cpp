#include "freeFunctions.h"
#include "InputCheck.h"
#include "MsgBase.h"
#include "Segment2.h"
#include "tools.h"
#include <algorithm>
#include <cstdlib>
#include <atomic>
#include <cmath>
#include <cctype>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <iostream>
#include <limits>
#include <string>
#include <sstream>

namespace MIREL25D {

namespace {
const std::string versionText(
	"Mirel2D " + std::to_string(getMajorVersionNumber()) + "." + std::to_string(getMinorVersionNumber()) + "." +
	std::to_string(getRevisionNumber()) + (isRelease() ? " RELEASE" : " DEBUG"));
}

MsgBase::~MsgBase() {}

const char* getMirel2DVersion()
{
	return versionText.c_str();
}
int getMajorVersionNumber()
{
	return 1;
}
int getMinorVersionNumber()
{
	return 85;
}
int getRevisionNumber()
{
	return 538;
}
bool isRelease()
{
	return true;
}

//----------------------------------------------------------------------------
// Point and segment files
//----------------------------------------------------------------------------

namespace {
const int32_t FILETYPE_POINTS_2D(20);
const int32_t FILETYPE_POINTS_3D(30);
const int32_t FILETYPE_SEGMENTS_2D(21);
const int32_t FILETYPE_SEGMENTS_3D(31);

// The header has been checked against the file length, so every value read
// after it is there; a failed read still leaves zero rather than garbage.
template<class T>
T readRaw(std::istream& in)
{
	T value(0);
	char buffer[sizeof(T)];
	if(in.read(buffer, sizeof(T)) && in.gcount() == static_cast<std::streamsize>(sizeof(T))) std::copy(buffer, buffer + sizeof(T), reinterpret_cast<char*>(&value));
	return value;
}

// The number of bytes after the current position.
uint64_t bytesLeft(std::istream& in)
{
	std::streampos here(in.tellg());
	in.seekg(0, std::ios::end);
	std::streampos end(in.tellg());
	in.seekg(here);
	if(here < 0 || end < here) return 0;
	return static_cast<uint64_t>(end - here);
}

// A count that the file cannot hold is refused before anything is allocated:
// a damaged or hostile header must not make the reader reserve its claim.
bool checkCount(const char* filename, std::istream& in, int64_t count, uint64_t recordSize, const char* noun)
{
	uint64_t numHeld(bytesLeft(in) / recordSize);
	if(count <= 0 || static_cast<uint64_t>(count) <= numHeld) return true;
	{
			std::ostringstream rawText;
			rawText << filename << " is truncated: its header claims " << count << " " << noun << ", the file holds " << numHeld << "\n";
			sendRawText(rawText.str());
		}
	return false;
}

template<class T>
void writeRaw(std::ostream& out, T value)
{
	out.write(reinterpret_cast<const char*>(&value), sizeof(T));
}

Point2 readBinaryPoint(std::istream& in, bool bWithZ)
{
	double x(readRaw<double>(in));
	double y(readRaw<double>(in));
	double z(bWithZ ? readRaw<double>(in) : 0.0);
	return Point2(x, y, z);
}

void writeBinaryPoint(std::ostream& out, const Point2& p)
{
	writeRaw<double>(out, p.x());
	writeRaw<double>(out, p.y());
	writeRaw<double>(out, p.z());
}

bool reportUnwritable(const char* filename)
{
	sendRawText(std::string(filename) + " can't be written\n");
	return false;
}

// The longest text that can be one number: the exact decimal form of a
// double has at most 767 significant digits, plus sign, point and exponent.
const size_t MAX_NUMBER_LENGTH(1024);

// Reads groups of numPerPoint numbers until a word is not a number; text after
// the last complete group is ignored. A word that runs past MAX_NUMBER_LENGTH
// stops the reading with a message, so a huge line is never held in memory.
// Groups with a NaN or infinite value are refused (one warning at the end).
bool readTextPoints(const char* filename, int numPerPoint, std::vector<Point2>& vPoints)
{
	std::ifstream in(filename, std::ios::in | std::ios::binary);
	if(!in.is_open())
	{
		sendRawText(std::string(filename) + " is unreadable\n");
		return false;
	}
	InputCheck check(numPerPoint == 2 ? "readXY()" : "readXYZ()", "point", InputCheck::FINITE);
	size_t numGroups(0);
	std::streambuf* pBuf(in.rdbuf());
	std::string word;
	double coords[3] = {0.0, 0.0, 0.0};
	int numInGroup(0);
	bool bOk(true);
	while(true)
	{
		int c(pBuf->sbumpc());
		while(c != std::char_traits<char>::eof() && std::isspace(c)) c = pBuf->sbumpc();
		if(c == std::char_traits<char>::eof()) break;
		word.clear();
		while(c != std::char_traits<char>::eof() && !std::isspace(c) && word.size() <= MAX_NUMBER_LENGTH)
		{
			word.push_back(static_cast<char>(c));
			c = pBuf->sbumpc();
		}
		if(word.size() > MAX_NUMBER_LENGTH)
		{
			{
			std::ostringstream rawText;
			rawText << filename << " has a word longer than " << MAX_NUMBER_LENGTH << " characters where a number should be" << "\n";
			sendRawText(rawText.str());
		}
			bOk = false;
			break;
		}
		char* pEnd(nullptr);
		double value(std::strtod(word.c_str(), &pEnd));
		if(pEnd != word.c_str() + word.size()) break; // not a number: the end of the points
		coords[numInGroup++] = value;
		if(numInGroup < numPerPoint) continue;
		numInGroup = 0;
		++numGroups;
		if(check.accept(coords[0], coords[1], coords[2])) vPoints.push_back(Point2(coords[0], coords[1], coords[2]));
	}
	check.report(numGroups);
	return bOk;
}

// The writers take pointers, as the triangulation hands out its vertices.
std::vector<Point2*> pointersTo(const std::vector<Point2>& vPoints)
{
	std::vector<Point2*> vPointers;
	vPointers.reserve(vPoints.size());
	for(const Point2& p : vPoints) vPointers.push_back(const_cast<Point2*>(&p));
	return vPointers;
}
} // namespace

bool readXY(const char* filename, std::vector<Point2>& vPoints)
{
	return readTextPoints(filename, 2, vPoints);
}

bool readXYZ(const char* filename, std::vector<Point2>& vPoints)
{
	return readTextPoints(filename, 3, vPoints);
}

namespace {

// The frame of the binary point and segment files: a type naming the 2D or
// the 3D record, a count, the records.
struct BinaryFileKind
{
	int32_t type2D, type3D;
	uint64_t recordBytes2D; // with z: half as much again
	const char* wrongTypeText; // the message for another type: filename, this, the type, wrongTypeTail
	const char* wrongTypeTail;
	const char* countNoun; // "points"
	const char* place; // the reader, named in the refusal warning
	const char* itemNoun; // "point"
};

// Opens the file, checks its type and that it can hold its count, then
// appends the records that readRecord(in, bWithZ) returns and the check accepts.
template<class Record, class ReadRecord>
bool readBinaryFile(const char* filename, const BinaryFileKind& kind, std::vector<Record>& vRecords, ReadRecord readRecord)
{
	std::ifstream in(filename, std::ios::in | std::ios::binary);
	if(!in.is_open())
	{
		sendRawText(std::string(filename) + " can't be read\n");
		return false;
	}
	int32_t fileType(readRaw<int32_t>(in));
	if(fileType != kind.type2D && fileType != kind.type3D)
	{
		sendRawText(std::string(filename) + kind.wrongTypeText + std::to_string(fileType) + kind.wrongTypeTail + "\n");
		return false;
	}
	int64_t count(readRaw<int64_t>(in));
	bool bWithZ(fileType == kind.type3D);
	if(!checkCount(filename, in, count, bWithZ ? kind.recordBytes2D * 3 / 2 : kind.recordBytes2D, kind.countNoun)) return false;
	InputCheck check(kind.place, kind.itemNoun, InputCheck::FINITE);
	size_t numRecords(count > 0 ? static_cast<size_t>(count) : 0);
	vRecords.reserve(vRecords.size() + numRecords);
	for(size_t i = 0; i < numRecords; ++i)
	{
		Record record(readRecord(in, bWithZ));
		if(check.accept(record)) vRecords.push_back(record);
	}
	check.report(numRecords);
	return true;
}

} // namespace

bool readPointsBIN(const char* filename, std::vector<Point2>& vPoints)
{
	const BinaryFileKind kind{FILETYPE_POINTS_2D, FILETYPE_POINTS_3D, 16, " has wrong filetype ", ", expected: 30 or 20", "points", "readPointsBIN()", "point"};
	return readBinaryFile(filename, kind, vPoints, [](std::istream& in, bool bWithZ) { return readBinaryPoint(in, bWithZ); });
}

bool readSegmentsBIN(const char* filename, std::vector<Segment2>& vSegments)
{
	const BinaryFileKind kind{FILETYPE_SEGMENTS_2D, FILETYPE_SEGMENTS_3D, 32, " has wrong file type: ", " instead of 31 or 21", "segments", "readSegmentsBIN()", "segment"};
	return readBinaryFile(filename, kind, vSegments, [](std::istream& in, bool bWithZ) {
		Point2 source(readBinaryPoint(in, bWithZ));
		Point2 target(readBinaryPoint(in, bWithZ));
		return Segment2(source, target);
	});
}

bool writePointsASCII(const char* filename, const std::vector<Point2*>& vPoints)
{
	std::ofstream out(filename);
	if(!out.is_open()) return reportUnwritable(filename);
	out.precision(18);
	for(const Point2* p : vPoints) out << p->x() << " " << p->y() << " " << p->z() << "\n";
	out.close();
	if(!out) return reportUnwritable(filename);
	return true;
}

bool writePointsASCII(const char* filename, const std::vector<Point2>& vPoints)
{
	std::vector<Point2*> vPointers(pointersTo(vPoints));
	return writePointsASCII(filename, vPointers);
}

bool writePointsBIN(const char* filename, std::vector<Point2*>& vPoints)
{
	std::ofstream out(filename, std::ios::out | std::ios::binary);
	if(!out.is_open()) return reportUnwritable(filename);
	writeRaw<int32_t>(out, FILETYPE_POINTS_3D);
	writeRaw<int64_t>(out, static_cast<int64_t>(vPoints.size()));
	for(const Point2* p : vPoints) writeBinaryPoint(out, *p);
	out.close();
	if(!out) return reportUnwritable(filename);
	return true;
}

bool writePointsBIN(const char* filename, std::vector<Point2>& vPoints)
{
	std::vector<Point2*> vPointers(pointersTo(vPoints));
	return writePointsBIN(filename, vPointers);
}

bool writeSegmentsBIN(const char* filename, std::vector<Segment2>& vSegments)
{
	std::ofstream out(filename, std::ios::out | std::ios::binary);
	if(!out.is_open()) return reportUnwritable(filename);
	writeRaw<int32_t>(out, FILETYPE_SEGMENTS_3D);
	writeRaw<int64_t>(out, static_cast<int64_t>(vSegments.size()));
	for(const Segment2& seg : vSegments)
	{
		writeBinaryPoint(out, seg.getSrc());
		writeBinaryPoint(out, seg.getTrg());
	}
	out.close();
	if(!out) return reportUnwritable(filename);
	return true;
}

//----------------------------------------------------------------------------
// Test data generators
//----------------------------------------------------------------------------

namespace {
// The linear congruential generator of the classic Microsoft C library
// (x = x*214013 + 2531011, value (x>>16) & 0x7fff): values 0..32767 and, for a
// given seed, the same sequence on every platform, unlike the C library's rand().
class Random15
{
public:
	explicit Random15(uint32_t seed) : state(seed) {}
	int next()
	{
		state = state * 214013u + 2531011u;
		return static_cast<int>((state >> 16) & 0x7fffu);
	}

private:
	uint32_t state;
};

// Unseeded calls made so far: they reseed k times so that calls within the
// same second of the clock still differ.
std::atomic<unsigned> numUnseededCalls(0);

uint32_t chooseSeed(unsigned seed)
{
	if(seed != 0) return seed;
	unsigned numReseeds(numUnseededCalls.fetch_add(1));
	uint32_t current(static_cast<uint32_t>(std::time(nullptr)));
	for(unsigned i = 0; i < numReseeds; ++i) current = static_cast<uint32_t>(Random15(current).next());
	return current;
}
} // namespace

void generateRandomNumbers(size_t num, double min, double max, std::vector<double>& vRandomNumbers, unsigned seed)
{
	vRandomNumbers.resize(num);
	Random15 random(chooseSeed(seed));
	MIREL_ASSERT(min<max);
	// (max-min)/32768: the values 0..32767 map onto [min, max)
	double factor((max - min) * 3.0517578125e-5);
	for(size_t i = 0; i < num; ++i) vRandomNumbers[i] = random.next() * factor + min;
}

void generateRandomPoints(size_t numRandomPoints, double min, double max, std::vector<Point2>& vRandomPoints, unsigned seed)
{
	MIREL_ASSERT(min<max);
	std::vector<double> vNumbers;
	generateRandomNumbers(2 * numRandomPoints, min, max, vNumbers, seed);
	// First half x, second half y: not interleaved pairs
	vRandomPoints.reserve(vRandomPoints.size() + numRandomPoints);
	for(size_t i = 0; i < numRandomPoints; ++i) vRandomPoints.push_back(Point2(vNumbers[i], vNumbers[numRandomPoints + i], 0.0));
}

void generateRandomPoints3D(size_t numRandomPoints, double min, double max, std::vector<Point2>& vRandomPoints, unsigned seed)
{
	MIREL_ASSERT(min<max);
	std::vector<double> vNumbers;
	generateRandomNumbers(3 * numRandomPoints, min, max, vNumbers, seed);
	vRandomPoints.reserve(vRandomPoints.size() + numRandomPoints);
	for(size_t i = 0; i < numRandomPoints; ++i)
	{
		vRandomPoints.push_back(Point2(vNumbers[i], vNumbers[numRandomPoints + i], vNumbers[2 * numRandomPoints + i]));
	}
}

void generateCircle(int numPoints, double x, double y, double z, double radiusX, double radiusY, std::vector<Point2>& vCirclePointsOut)
{
	if(numPoints < 1) return;
	// The truncated 2*pi is part of the known output: keep it.
	double step(6.28318 / numPoints);
	vCirclePointsOut.reserve(vCirclePointsOut.size() + static_cast<size_t>(numPoints));
	for(int i = 0; i < numPoints; ++i)
	{
		double angle(i * step);
		vCirclePointsOut.push_back(Point2(std::cos(angle) * radiusX + x, std::sin(angle) * radiusY + y, z));
	}
}

void shear(std::vector<Point2>& vPoints, double shearX, double shearY)
{
	for(Point2& p : vPoints)
	{
		double oldX(p.x()), oldY(p.y());
		p.set(oldX + shearX * oldY, oldY + shearY * oldX, p.z(), -1);
	}
}

void generateRandomSegments(size_t numSegments, double min, double max, double maxLen, std::vector<Segment2>& vSegmentsOut, unsigned seed)
{
	MIREL_ASSERT(min<max);
	MIREL_ASSERT(maxLen>0);
	// Per segment: source x, source y, direction and length, each in [0, 1)
	std::vector<double> r;
	generateRandomNumbers(4 * numSegments, 0.0, 1.0, r, seed);
	double range(max - min);
	auto clampToSquare = [min, max](double v) { return std::min(max, std::max(min, v)); };
	vSegmentsOut.reserve(vSegmentsOut.size() + numSegments);
	for(size_t i = 0; i < numSegments; ++i)
	{
		double srcX(min + r[i] * range);
		double srcY(min + r[numSegments + i] * range);
		double angle(r[2 * numSegments + i] * 2.0 * MIREL_PI);
		double length((1.0 - r[3 * numSegments + i]) * maxLen); // (0, maxLen]
		double dx(std::cos(angle) * length), dy(std::sin(angle) * length);
		double trgX(clampToSquare(srcX + dx)), trgY(clampToSquare(srcY + dy));
		// Clamping can collapse a segment that starts in a corner and points
		// outward: it then points the other way.
		if(trgX == srcX && trgY == srcY)
		{
			trgX = clampToSquare(srcX - dx);
			trgY = clampToSquare(srcY - dy);
		}
		vSegmentsOut.push_back(Segment2(Point2(srcX, srcY, 0.0), Point2(trgX, trgY, 0.0)));
	}
}

void generateRandomPolygon(size_t numSegments, double min, double max, std::vector<Segment2>& vPolygonOut, unsigned seed)
{
	MIREL_ASSERT(min<max);
	if(numSegments < 3) return;
	// A star-shaped polygon around the centre of the square: vertex i lies at a
	// jittered angle in the i-th of numSegments equal sectors. The angles
	// increase strictly and consecutive ones differ by less than 1.45*2*pi/n,
	// below pi for every n >= 3, so each edge keeps the centre strictly on
	// its left and no two edges can cross.
	std::vector<double> r;
	generateRandomNumbers(2 * numSegments, 0.0, 1.0, r, seed);
	double centre(0.5 * (min + max));
	double maxRadius(0.5 * (max - min));
	double sector(2.0 * MIREL_PI / static_cast<double>(numSegments));
	std::vector<Point2> vCorners;
	vCorners.reserve(numSegments);
	for(size_t i = 0; i < numSegments; ++i)
	{
		double angle((static_cast<double>(i) + 0.45 * r[i]) * sector);
		double radius((0.2 + 0.8 * r[numSegments + i]) * maxRadius);
		vCorners.push_back(Point2(centre + std::cos(angle) * radius, centre + std::sin(angle) * radius, 0.0));
	}
	vPolygonOut.reserve(vPolygonOut.size() + numSegments);
	for(size_t i = 0; i < numSegments; ++i) vPolygonOut.push_back(Segment2(vCorners[i], vCorners[(i + 1) % numSegments]));
}

void generateRandomSurfacePoints(size_t numX, size_t numY, size_t numCenters, double xmin, double ymin, double zmin, double xmax, double ymax, double zmax,
	std::vector<Point2>& vSurfacePointsOut, unsigned seed)
{
	MIREL_ASSERT(xmin<xmax);
	MIREL_ASSERT(ymin<ymax);
	MIREL_ASSERT(zmin<zmax);
	double rangeX(xmax - xmin), rangeY(ymax - ymin);
	std::vector<double> vCentreCoords, vWeights;
	generateRandomNumbers(2 * numCenters, 0.0, 1.0, vCentreCoords, seed);
	generateRandomNumbers(numCenters, 0.01, 1.0, vWeights, seed != 0 ? seed + 1 : 0);

	// Gaussian bumps whose width is a quarter of the larger side: smooth hills
	// that overlap, whatever the grid resolution.
	double sigma(0.25 * std::max(rangeX, rangeY));
	double twoSigmaSq(2.0 * sigma * sigma);
	auto heightAt = [&](double x, double y) {
		double h(0.0);
		for(size_t c = 0; c < numCenters; ++c)
		{
			double dx(x - (xmin + vCentreCoords[c] * rangeX));
			double dy(y - (ymin + vCentreCoords[numCenters + c] * rangeY));
			h += vWeights[c] * std::exp(-(dx * dx + dy * dy) / twoSigmaSq);
		}
		return h;
	};
	// The last grid line lies exactly on the upper bound.
	auto gridCoord = [](size_t i, size_t n, double lo, double hi) {
		if(n < 2) return lo;
		if(i + 1 == n) return hi;
		return lo + (hi - lo) * static_cast<double>(i) / static_cast<double>(n - 1);
	};

	size_t firstNew(vSurfacePointsOut.size());
	vSurfacePointsOut.reserve(firstNew + numX * numY);
	double hMin(LARGEST_DOUBLE), hMax(-LARGEST_DOUBLE);
	for(size_t iy = 0; iy < numY; ++iy)
	{
		double y(gridCoord(iy, numY, ymin, ymax));
		for(size_t ix = 0; ix < numX; ++ix)
		{
			double x(gridCoord(ix, numX, xmin, xmax));
			double h(heightAt(x, y));
			hMin = std::min(hMin, h);
			hMax = std::max(hMax, h);
			vSurfacePointsOut.push_back(Point2(x, y, h));
		}
	}
	// Scale into [zmin, zmax]; a flat field (no centres, a single point) lies at zmin.
	double hRange(hMax - hMin);
	for(size_t i = firstNew; i < vSurfacePointsOut.size(); ++i)
	{
		Point2& p(vSurfacePointsOut[i]);
		double t(hRange > 0.0 ? (p.z() - hMin) / hRange : 0.0);
		p.setZ(t < 1.0 ? zmin + t * (zmax - zmin) : zmax);
	}
}

void generateSineSegments(int numSegments, int numPeriods, double xOffset, double yOffset, double xFactor, double yFactor, bool bSwapXY,
	std::vector<Segment2>& vSineSegmentsOut)
{
	if(numSegments < 1) return;
	double step(2.0 * numPeriods * MIREL_PI / numSegments);
	auto vertex = [&](int i) {
		double angle(i * step);
		double x(xOffset + xFactor * angle);
		double y(yOffset + yFactor * std::sin(angle));
		return bSwapXY ? Point2(y, x, 0.0) : Point2(x, y, 0.0);
	};
	vSineSegmentsOut.reserve(vSineSegmentsOut.size() + static_cast<size_t>(numSegments));
	Point2 previous(vertex(0));
	for(int i = 1; i <= numSegments; ++i)
	{
		Point2 current(vertex(i));
		vSineSegmentsOut.push_back(Segment2(previous, current));
		previous = current;
	}
}

} // namespace MIREL25D
