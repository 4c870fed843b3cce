// Point and segment files: byte-exact binary layout, bit-exact round trips in
// binary and text, 2D file types, truncated files, and the readers' and
// writers' messages.
#include "freeFunctions.h"
#include "Segment2.h"
#include "test_support.h"
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>

using namespace MIREL25D;
using mtest::readFile;

namespace {
typedef std::vector<unsigned char> Bytes;

// Expected file contents are built independently of the writers: explicit
// little-endian bytes of each field, a 32-bit type and a 64-bit count first.
void appendLE(Bytes& b, uint64_t value, int numBytes)
{
	for(int i = 0; i < numBytes; ++i) b.push_back(static_cast<unsigned char>((value >> (8 * i)) & 0xffu));
}
uint64_t bitsOf(double d)
{
	uint64_t bits;
	std::memcpy(&bits, &d, 8);
	return bits;
}
Bytes fileBytes(int32_t type, int64_t count, const std::vector<double>& vValues)
{
	Bytes b;
	appendLE(b, static_cast<uint32_t>(type), 4);
	appendLE(b, static_cast<uint64_t>(count), 8);
	for(double d : vValues) appendLE(b, bitsOf(d), 8);
	return b;
}
Bytes readBytes(const char* name)
{
	std::ifstream in(name, std::ios::binary);
	return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}
void writeFile(const char* name, const Bytes& b)
{
	std::ofstream out(name, std::ios::binary);
	out.write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}
void writeFile(const char* name, const std::string& s)
{
	writeFile(name, Bytes(s.begin(), s.end()));
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

TEST(PointFiles, BinaryFilesByteForByte)
{
	std::vector<Point2> vPoints{Point2(1.5, -2.25, 3.0), Point2(0.1, 1e100, -0.0)};
	Bytes expected(fileBytes(30, 2, {1.5, -2.25, 3.0, 0.1, 1e100, -0.0}));
	ASSERT_TRUE(writePointsBIN("points30.bin", vPoints));
	EXPECT_EQ(readBytes("points30.bin"), expected);
	std::vector<Point2*> vPointers{&vPoints[0], &vPoints[1]}; // the pointer overload writes the same file
	ASSERT_TRUE(writePointsBIN("points30p.bin", vPointers));
	EXPECT_EQ(readBytes("points30p.bin"), expected);

	std::vector<Segment2> vSegments{Segment2(Point2(1, 2, 3), Point2(4, 5, 6)), Segment2(Point2(-0.5, 0.25, 1e-300), Point2(7, 8, 9))};
	ASSERT_TRUE(writeSegmentsBIN("segments31.bin", vSegments));
	EXPECT_EQ(readBytes("segments31.bin"), fileBytes(31, 2, {1, 2, 3, 4, 5, 6, -0.5, 0.25, 1e-300, 7, 8, 9}));

	vPoints.clear();
	vSegments.clear();
	ASSERT_TRUE(writePointsBIN("empty.bin", vPoints));
	EXPECT_EQ(readBytes("empty.bin"), Bytes({30, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
	ASSERT_TRUE(writeSegmentsBIN("emptySegments.bin", vSegments));
	EXPECT_EQ(readBytes("emptySegments.bin"), Bytes({31, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(PointFiles, BinaryRoundTripIsBitExact)
{
	std::vector<Point2> vPoints(awkwardPoints());
	ASSERT_TRUE(writePointsBIN("roundtrip.bin", vPoints));
	std::vector<Point2> vRead{Point2(9, 9, 9)}; // readers append
	ASSERT_TRUE(readPointsBIN("roundtrip.bin", vRead));
	ASSERT_EQ(vRead.size(), vPoints.size() + 1);
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		expectBitEqual(vRead[i + 1], vPoints[i]);
		EXPECT_EQ(vRead[i + 1].getCustomIndex(), -1);
		EXPECT_EQ(vRead[i + 1].getIncidentTriangle(), nullptr);
	}

	std::vector<Segment2> vSegments;
	for(size_t i = 0; i + 1 < vPoints.size(); ++i) vSegments.push_back(Segment2(vPoints[i], vPoints[i + 1]));
	ASSERT_TRUE(writeSegmentsBIN("roundtripSegments.bin", vSegments));
	std::vector<Segment2> vReadSegments;
	ASSERT_TRUE(readSegmentsBIN("roundtripSegments.bin", vReadSegments));
	ASSERT_EQ(vReadSegments.size(), vSegments.size());
	for(size_t i = 0; i < vSegments.size(); ++i)
	{
		expectBitEqual(vReadSegments[i].getSrc(), vSegments[i].getSrc());
		expectBitEqual(vReadSegments[i].getTrg(), vSegments[i].getTrg());
	}
}

TEST(PointFiles, TwoDimensionalTypesTruncatedFilesAndEmptyCounts)
{
	// Types 20 and 21 carry x and y only: z reads as 0.
	writeFile("points20.bin", fileBytes(20, 2, {1.0, 2.0, -3.5, 4.25}));
	std::vector<Point2> vPoints;
	ASSERT_TRUE(readPointsBIN("points20.bin", vPoints));
	ASSERT_EQ(vPoints.size(), 2u);
	EXPECT_TRUE(vPoints[0].samePoint(Point2(1, 2, 0)) && vPoints[1].samePoint(Point2(-3.5, 4.25, 0)));
	writeFile("segments21.bin", fileBytes(21, 1, {1.0, 2.0, 3.0, 4.0}));
	std::vector<Segment2> vSegments;
	ASSERT_TRUE(readSegmentsBIN("segments21.bin", vSegments));
	ASSERT_EQ(vSegments.size(), 1u);
	EXPECT_TRUE(vSegments[0].getSrc().samePoint(Point2(1, 2, 0)) && vSegments[0].getTrg().samePoint(Point2(3, 4, 0)));

	// Count 3, but the file ends inside the second point: refused as a whole,
	// nothing appended.
	Bytes truncated(fileBytes(30, 3, {1.0, 2.0, 3.0, 4.0}));
	truncated.push_back(0x11);
	writeFile("truncated.bin", truncated);
	vPoints.clear();
	std::string out(mtest::captureStdout([&] { EXPECT_FALSE(readPointsBIN("truncated.bin", vPoints)); }));
	EXPECT_TRUE(vPoints.empty());
	EXPECT_NE(out.find("truncated.bin is truncated"), std::string::npos) << out;

	for(int64_t count : {int64_t(0), int64_t(-5)})
	{
		writeFile("nonPositive.bin", fileBytes(30, count, {1.0}));
		std::vector<Point2> vNone;
		EXPECT_TRUE(readPointsBIN("nonPositive.bin", vNone));
		EXPECT_TRUE(vNone.empty());
	}
}

TEST(PointFiles, ReaderAndWriterMessages)
{
	writeFile("type25.bin", fileBytes(25, 1, {}));
	writeFile("msg30.bin", fileBytes(30, 1, {1, 2, 3}));
	writeFile("msg31.bin", fileBytes(31, 1, {1, 2, 3, 4, 5, 6}));
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

TEST(PointFiles, TextReadersStopAtFirstFailure)
{
	// Pairs: the dangling "9" and everything after the word are ignored
	writeFile("xy.txt", std::string("1 2\n3\t4   5 6\n7 8 9\n"));
	std::vector<Point2> vPoints;
	ASSERT_TRUE(readXY("xy.txt", vPoints));
	ASSERT_EQ(vPoints.size(), 4u);
	EXPECT_TRUE(vPoints[1].samePoint(Point2(3, 4, 0)) && vPoints[3].samePoint(Point2(7, 8, 0)));
	writeFile("xyz.txt", std::string("1 2 3\n4 5 6\n7 8 oops 10 11 12\n"));
	ASSERT_TRUE(readXYZ("xyz.txt", vPoints));
	ASSERT_EQ(vPoints.size(), 6u); // appended
	EXPECT_TRUE(vPoints[5].samePoint(Point2(4, 5, 6)));
	writeFile("emptyText.txt", std::string(""));
	std::vector<Point2> vNone;
	EXPECT_TRUE(readXY("emptyText.txt", vNone));
	EXPECT_TRUE(vNone.empty());
}
