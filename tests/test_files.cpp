// Point and segment files: byte-exact binary layout, bit-exact round trips in
// binary and text, 2D file types, and the readers' and writers' messages.
#include "freeFunctions.h"
#include "Segment2.h"
#include "test_support.h"
#include <cmath>
#include <cstdint>
#include <cstring>

using namespace MIREL25D;
using mtest::readFile;

namespace {
using mtest::binaryFile;
using mtest::writeBytes;

uint64_t bitsOf(double d)
{
	uint64_t bits;
	std::memcpy(&bits, &d, 8);
	return bits;
}
void expectBitEqual(const Point2& a, const Point2& b)
{
	EXPECT_EQ(bitsOf(a.x()), bitsOf(b.x()));
	EXPECT_EQ(bitsOf(a.y()), bitsOf(b.y()));
	EXPECT_EQ(bitsOf(a.z()), bitsOf(b.z()));
}

// Values that a careless text or binary path would damage.
std::vector<Point2> awkwardPoints()
{
	return {Point2(0.1, 1.0 / 3.0, -2.5), Point2(-0.0, 1e-310, 1.7976931348623157e308), Point2(123456789.123456789, -9.87654321e-200, 0.0),
		Point2(std::nextafter(1.0, 2.0), std::nextafter(1.0, 0.0), -1e300)};
}
} // namespace

// Written byte for byte as built here, the pointer overload alike; read back
// bit-exact, appended, without custom index or triangle.
TEST(PointFiles, BinaryFilesByteForByteAndBack)
{
	std::vector<Point2> vPoints(awkwardPoints());
	std::vector<Point2*> vPointers;
	std::vector<Segment2> vSegments;
	std::vector<double> vValues, vSegmentValues;
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		vPointers.push_back(&vPoints[i]);
		vValues.insert(vValues.end(), {vPoints[i].x(), vPoints[i].y(), vPoints[i].z()});
		if(i == 0) continue;
		vSegments.push_back(Segment2(vPoints[i - 1], vPoints[i]));
		vSegmentValues.insert(vSegmentValues.end(), vValues.end() - 6, vValues.end());
	}
	ASSERT_TRUE(writePointsBIN("points30.bin", vPoints) && writePointsBIN("points30p.bin", vPointers) && writeSegmentsBIN("segments31.bin", vSegments));
	EXPECT_EQ(readFile("points30.bin"), binaryFile(30, int64_t(vPoints.size()), vValues));
	EXPECT_EQ(readFile("points30p.bin"), readFile("points30.bin"));
	EXPECT_EQ(readFile("segments31.bin"), binaryFile(31, int64_t(vSegments.size()), vSegmentValues));
	std::vector<Point2> vRead{Point2(9, 9, 9)};
	std::vector<Segment2> vReadSegments;
	ASSERT_TRUE(readPointsBIN("points30.bin", vRead) && readSegmentsBIN("segments31.bin", vReadSegments));
	ASSERT_TRUE(vRead.size() == vPoints.size() + 1 && vReadSegments.size() == vSegments.size());
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		expectBitEqual(vRead[i + 1], vPoints[i]);
		EXPECT_TRUE(vRead[i + 1].getCustomIndex() == -1 && vRead[i + 1].getIncidentTriangle() == nullptr);
		if(i == 0) continue;
		expectBitEqual(vReadSegments[i - 1].getSrc(), vPoints[i - 1]);
		expectBitEqual(vReadSegments[i - 1].getTrg(), vPoints[i]);
	}
	vPoints.clear();
	vSegments.clear();
	ASSERT_TRUE(writePointsBIN("empty.bin", vPoints) && writeSegmentsBIN("emptySegments.bin", vSegments));
	EXPECT_EQ(readFile("empty.bin"), binaryFile(30, 0, {}));
	EXPECT_EQ(readFile("emptySegments.bin"), binaryFile(31, 0, {}));
}

TEST(PointFiles, TwoDimensionalTypesAndEmptyCounts)
{
	// Types 20 and 21 carry x and y only: z reads as 0.
	writeBytes("points20.bin", binaryFile(20, 2, {1.0, 2.0, -3.5, 4.25}));
	std::vector<Point2> vPoints;
	ASSERT_TRUE(readPointsBIN("points20.bin", vPoints));
	ASSERT_TRUE(vPoints.size() == 2u && vPoints[0].samePoint(Point2(1, 2, 0)) && vPoints[1].samePoint(Point2(-3.5, 4.25, 0)));
	writeBytes("segments21.bin", binaryFile(21, 1, {1.0, 2.0, 3.0, 4.0}));
	std::vector<Segment2> vSegments;
	ASSERT_TRUE(readSegmentsBIN("segments21.bin", vSegments));
	ASSERT_TRUE(vSegments.size() == 1u && vSegments[0].getSrc().samePoint(Point2(1, 2, 0)) && vSegments[0].getTrg().samePoint(Point2(3, 4, 0)));

	// Headers with no points (truncated ones: HostileFiles).
	for(int64_t count : {int64_t(0), int64_t(-5)})
	{
		writeBytes("nonPositive.bin", binaryFile(30, count, {1.0}));
		std::vector<Point2> vNone;
		EXPECT_TRUE(readPointsBIN("nonPositive.bin", vNone));
		EXPECT_TRUE(vNone.empty());
	}
}

TEST(PointFiles, ReaderAndWriterMessages)
{
	writeBytes("type25.bin", binaryFile(25, 1, {}));
	writeBytes("msg30.bin", binaryFile(30, 1, {1, 2, 3}));
	writeBytes("msg31.bin", binaryFile(31, 1, {1, 2, 3, 4, 5, 6}));
	std::vector<Point2> vPoints;
	std::vector<Segment2> vSegments;
	// Wrong file types, missing files and folders: one line each (golden file).
	std::string out(mtest::captureStdout([&] {
		EXPECT_FALSE(readPointsBIN("type25.bin", vPoints));
		EXPECT_FALSE(readSegmentsBIN("type25.bin", vSegments));
		EXPECT_FALSE(readSegmentsBIN("msg30.bin", vSegments));
		EXPECT_FALSE(readPointsBIN("msg31.bin", vPoints));
		EXPECT_FALSE(readPointsBIN("no_such_file.bin", vPoints));
		EXPECT_FALSE(readSegmentsBIN("no_such_file.bin", vSegments));
		EXPECT_FALSE(readXY("no_such_file.txt", vPoints));
		EXPECT_FALSE(readXYZ("no_such_file.txt", vPoints));
		EXPECT_FALSE(writePointsBIN("no_such_dir/p.bin", vPoints));
		EXPECT_FALSE(writePointsASCII("no_such_dir/p.txt", vPoints));
		EXPECT_FALSE(writeSegmentsBIN("no_such_dir/s.bin", vSegments));
	}));
	mtest::expectGolden("file_messages.txt", out);
	EXPECT_TRUE(vPoints.empty() && vSegments.empty());
}

TEST(PointFiles, TextRoundTripKeepsEveryBit)
{
	std::vector<Point2> vPoints(awkwardPoints());
	ASSERT_TRUE(writePointsASCII("points.txt", vPoints));
	std::string text(readFile("points.txt"));
	// 18 significant digits, blanks between, one line per point
	EXPECT_EQ(text.substr(0, text.find('\n') + 1), "0.100000000000000006 0.333333333333333315 -2.5\n");
	std::vector<Point2> vRead;
	ASSERT_TRUE(readXYZ("points.txt", vRead));
	ASSERT_EQ(vRead.size(), vPoints.size());
	for(size_t i = 0; i < vPoints.size(); ++i) expectBitEqual(vRead[i], vPoints[i]);
	std::vector<Point2*> vPointers;
	for(Point2& p : vPoints) vPointers.push_back(&p);
	ASSERT_TRUE(writePointsASCII("pointsp.txt", vPointers));
	EXPECT_EQ(readFile("pointsp.txt"), text);
}

