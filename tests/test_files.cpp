#include "freeFunctions.h"
#include "Segment2.h"
#include <gtest/gtest.h>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using namespace MIREL25D;

namespace {
typedef std::vector<unsigned char> Bytes;

// Expected file contents are built independently of the writers: explicit
// little-endian bytes of each field.
void appendLE(Bytes& b, uint64_t value, int numBytes)
{
	for(int i = 0; i < numBytes; ++i) b.push_back(static_cast<unsigned char>((value >> (8 * i)) & 0xffu));
}
void appendInt32(Bytes& b, int32_t v)
{
	appendLE(b, static_cast<uint32_t>(v), 4);
}
void appendInt64(Bytes& b, int64_t v)
{
	appendLE(b, static_cast<uint64_t>(v), 8);
}
void appendDouble(Bytes& b, double d)
{
	uint64_t bits;
	std::memcpy(&bits, &d, 8);
	appendLE(b, bits, 8);
}
uint64_t bitsOf(double d)
{
	uint64_t bits;
	std::memcpy(&bits, &d, 8);
	return bits;
}

Bytes readBytes(const char* name)
{
	std::ifstream in(name, std::ios::binary);
	return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}
void writeBytes(const char* name, const Bytes& b)
{
	std::ofstream out(name, std::ios::binary);
	out.write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}
std::string readText(const char* name)
{
	std::ifstream in(name);
	std::stringstream ss;
	ss << in.rdbuf();
	return ss.str();
}
void writeText(const char* name, const std::string& s)
{
	std::ofstream out(name);
	out << s;
}

// Values that a careless text or binary path would damage.
std::vector<Point2> awkwardPoints()
{
	return {Point2(0.1, 1.0 / 3.0, -2.5), Point2(-0.0, 1e-310, 1.7976931348623157e308), Point2(123456789.123456789, -9.87654321e-200, 0.0),
		Point2(std::nextafter(1.0, 2.0), std::nextafter(1.0, 0.0), -1e300)};
}
} // namespace

TEST(PointFiles, BinaryPointsByteForByte)
{
	std::vector<Point2> vPoints{Point2(1.5, -2.25, 3.0), Point2(0.1, 1e100, -0.0)};
	ASSERT_TRUE(writePointsBIN("points30.bin", vPoints));
	Bytes expected;
	appendInt32(expected, 30);
	appendInt64(expected, 2);
	for(const Point2& p : vPoints)
	{
		appendDouble(expected, p.x());
		appendDouble(expected, p.y());
		appendDouble(expected, p.z());
	}
	EXPECT_EQ(readBytes("points30.bin"), expected);

	// The pointer overload writes the same file
	std::vector<Point2*> vPointers{&vPoints[0], &vPoints[1]};
	ASSERT_TRUE(writePointsBIN("points30p.bin", vPointers));
	EXPECT_EQ(readBytes("points30p.bin"), expected);

	std::vector<Point2> vEmpty;
	ASSERT_TRUE(writePointsBIN("empty.bin", vEmpty));
	EXPECT_EQ(readBytes("empty.bin"), Bytes({30, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(PointFiles, BinarySegmentsByteForByte)
{
	std::vector<Segment2> vSegments{Segment2(Point2(1, 2, 3), Point2(4, 5, 6)), Segment2(Point2(-0.5, 0.25, 1e-300), Point2(7, 8, 9))};
	ASSERT_TRUE(writeSegmentsBIN("segments31.bin", vSegments));
	Bytes expected;
	appendInt32(expected, 31);
	appendInt64(expected, 2);
	for(const Segment2& s : vSegments)
	{
		for(const Point2& p : {s.getSrc(), s.getTrg()})
		{
			appendDouble(expected, p.x());
			appendDouble(expected, p.y());
			appendDouble(expected, p.z());
		}
	}
	EXPECT_EQ(readBytes("segments31.bin"), expected);

	std::vector<Segment2> vEmpty;
	ASSERT_TRUE(writeSegmentsBIN("emptySegments.bin", vEmpty));
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
		const Point2& p(vRead[i + 1]);
		EXPECT_EQ(bitsOf(p.x()), bitsOf(vPoints[i].x()));
		EXPECT_EQ(bitsOf(p.y()), bitsOf(vPoints[i].y()));
		EXPECT_EQ(bitsOf(p.z()), bitsOf(vPoints[i].z()));
		EXPECT_EQ(p.getCustomIndex(), -1);
		EXPECT_EQ(p.getIncidentTriangle(), nullptr);
	}

	std::vector<Segment2> vSegments;
	for(size_t i = 0; i + 1 < vPoints.size(); ++i) vSegments.push_back(Segment2(vPoints[i], vPoints[i + 1]));
	ASSERT_TRUE(writeSegmentsBIN("roundtripSegments.bin", vSegments));
	std::vector<Segment2> vReadSegments;
	ASSERT_TRUE(readSegmentsBIN("roundtripSegments.bin", vReadSegments));
	ASSERT_EQ(vReadSegments.size(), vSegments.size());
	for(size_t i = 0; i < vSegments.size(); ++i)
	{
		EXPECT_TRUE(vReadSegments[i].getSrc().samePoint(vSegments[i].getSrc()));
		EXPECT_TRUE(vReadSegments[i].getTrg().samePoint(vSegments[i].getTrg()));
		EXPECT_EQ(bitsOf(vReadSegments[i].getSrc().x()), bitsOf(vSegments[i].getSrc().x())); // -0.0 stays -0.0
	}
}

TEST(PointFiles, TwoDimensionalTypesReadWithZeroHeight)
{
	Bytes points20;
	appendInt32(points20, 20);
	appendInt64(points20, 2);
	for(double d : {1.0, 2.0, -3.5, 4.25}) appendDouble(points20, d);
	writeBytes("points20.bin", points20);
	std::vector<Point2> vPoints;
	ASSERT_TRUE(readPointsBIN("points20.bin", vPoints));
	ASSERT_EQ(vPoints.size(), 2u);
	EXPECT_TRUE(vPoints[0].samePoint(Point2(1, 2, 0)));
	EXPECT_TRUE(vPoints[1].samePoint(Point2(-3.5, 4.25, 0)));

	Bytes segments21;
	appendInt32(segments21, 21);
	appendInt64(segments21, 1);
	for(double d : {1.0, 2.0, 3.0, 4.0}) appendDouble(segments21, d);
	writeBytes("segments21.bin", segments21);
	std::vector<Segment2> vSegments;
	ASSERT_TRUE(readSegmentsBIN("segments21.bin", vSegments));
	ASSERT_EQ(vSegments.size(), 1u);
	EXPECT_TRUE(vSegments[0].getSrc().samePoint(Point2(1, 2, 0)));
	EXPECT_TRUE(vSegments[0].getTrg().samePoint(Point2(3, 4, 0)));
}

TEST(PointFiles, TruncatedAndEmptyCounts)
{
	// Count 3, but the file ends inside the second point: missing doubles read as 0
	Bytes truncated;
	appendInt32(truncated, 30);
	appendInt64(truncated, 3);
	for(double d : {1.0, 2.0, 3.0, 4.0}) appendDouble(truncated, d);
	truncated.push_back(0x11); // a partial double is missing too
	writeBytes("truncated.bin", truncated);
	std::vector<Point2> vPoints;
	ASSERT_TRUE(readPointsBIN("truncated.bin", vPoints));
	ASSERT_EQ(vPoints.size(), 3u);
	EXPECT_TRUE(vPoints[0].samePoint(Point2(1, 2, 3)));
	EXPECT_TRUE(vPoints[1].samePoint(Point2(4, 0, 0)));
	EXPECT_TRUE(vPoints[2].samePoint(Point2(0, 0, 0)));

	for(int64_t count : {int64_t(0), int64_t(-5)})
	{
		Bytes header;
		appendInt32(header, 30);
		appendInt64(header, count);
		appendDouble(header, 1.0);
		writeBytes("nonPositive.bin", header);
		std::vector<Point2> vNone;
		EXPECT_TRUE(readPointsBIN("nonPositive.bin", vNone));
		EXPECT_TRUE(vNone.empty());
	}
}

TEST(PointFiles, ReaderAndWriterMessages)
{
	Bytes wrongType;
	appendInt32(wrongType, 25);
	appendInt64(wrongType, 1);
	writeBytes("type25.bin", wrongType);

	std::vector<Point2> vPoints;
	std::vector<Segment2> vSegments;
	testing::internal::CaptureStdout();
	EXPECT_FALSE(readPointsBIN("type25.bin", vPoints));
	EXPECT_FALSE(readSegmentsBIN("type25.bin", vSegments));
	EXPECT_FALSE(readSegmentsBIN("points30.bin", vSegments));
	EXPECT_FALSE(readPointsBIN("segments31.bin", vPoints));
	EXPECT_FALSE(readPointsBIN("no_such_file.bin", vPoints));
	EXPECT_FALSE(readSegmentsBIN("no_such_file.bin", vSegments));
	EXPECT_FALSE(readXY("no_such_file.txt", vPoints));
	EXPECT_FALSE(readXYZ("no_such_file.txt", vPoints));
	EXPECT_FALSE(writePointsBIN("no_such_dir/p.bin", vPoints));
	EXPECT_FALSE(writePointsASCII("no_such_dir/p.txt", vPoints));
	EXPECT_FALSE(writeSegmentsBIN("no_such_dir/s.bin", vSegments));
	std::string out(testing::internal::GetCapturedStdout());
	EXPECT_EQ(out,
		"type25.bin has wrong filetype 25, expected: 30 or 20\n"
		"type25.bin has wrong file type: 25 instead of 31 or 21\n"
		"points30.bin has wrong file type: 30 instead of 31 or 21\n"
		"segments31.bin has wrong filetype 31, expected: 30 or 20\n"
		"no_such_file.bin can't be read\n"
		"no_such_file.bin can't be read\n"
		"no_such_file.txt is unreadable\n"
		"no_such_file.txt is unreadable\n"
		"no_such_dir/p.bin can't be written\n"
		"no_such_dir/p.txt can't be written\n"
		"no_such_dir/s.bin can't be written\n");
	EXPECT_TRUE(vPoints.empty());
	EXPECT_TRUE(vSegments.empty());
}

TEST(PointFiles, TextRoundTripKeepsEveryBit)
{
	std::vector<Point2> vPoints(awkwardPoints());
	ASSERT_TRUE(writePointsASCII("points.txt", vPoints));
	std::string text(readText("points.txt"));
	// 18 significant digits, blanks between, one line per point
	EXPECT_EQ(text.substr(0, text.find('\n') + 1), "0.100000000000000006 0.333333333333333315 -2.5\n");
	std::vector<Point2> vRead;
	ASSERT_TRUE(readXYZ("points.txt", vRead));
	ASSERT_EQ(vRead.size(), vPoints.size());
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		EXPECT_EQ(bitsOf(vRead[i].x()), bitsOf(vPoints[i].x()));
		EXPECT_EQ(bitsOf(vRead[i].y()), bitsOf(vPoints[i].y()));
		EXPECT_EQ(bitsOf(vRead[i].z()), bitsOf(vPoints[i].z()));
	}
	std::vector<Point2*> vPointers;
	for(Point2& p : vPoints) vPointers.push_back(&p);
	ASSERT_TRUE(writePointsASCII("pointsp.txt", vPointers));
	EXPECT_EQ(readText("pointsp.txt"), text);
}

TEST(PointFiles, TextReadersStopAtFirstFailure)
{
	// Pairs: the dangling "9" and everything after the word are ignored
	writeText("xy.txt", "1 2\n3\t4   5 6\n7 8 9\n");
	std::vector<Point2> vPoints;
	ASSERT_TRUE(readXY("xy.txt", vPoints));
	ASSERT_EQ(vPoints.size(), 4u);
	EXPECT_TRUE(vPoints[1].samePoint(Point2(3, 4, 0)));
	EXPECT_TRUE(vPoints[3].samePoint(Point2(7, 8, 0)));

	writeText("xyz.txt", "1 2 3\n4 5 6\n7 8 oops 10 11 12\n");
	ASSERT_TRUE(readXYZ("xyz.txt", vPoints));
	ASSERT_EQ(vPoints.size(), 6u); // appended
	EXPECT_TRUE(vPoints[5].samePoint(Point2(4, 5, 6)));

	writeText("emptyText.txt", "");
	std::vector<Point2> vNone;
	EXPECT_TRUE(readXY("emptyText.txt", vNone));
	EXPECT_TRUE(vNone.empty());
}
