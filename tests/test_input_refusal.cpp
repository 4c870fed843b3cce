// Coordinates that no triangulation can hold (NaN, infinities, magnitudes
// beyond the supported range) are refused at every entry point with one
// warning per call, while the rest of the call goes in; hostile files give a
// clear error instead of a crash or a huge allocation. The warning texts are
// kept in data/input_refusal_messages.txt.
#include "freeFunctions.h"
#include "test_support.h"
#include <limits>

using namespace MIREL25D;

namespace {
const double NaN(std::numeric_limits<double>::quiet_NaN());
const double Inf(std::numeric_limits<double>::infinity());

// "key: text" lines of the golden file.
std::string golden(const std::string& key)
{
	std::string path(__FILE__);
	path = path.substr(0, path.find_last_of('/')) + "/data/input_refusal_messages.txt";
	std::istringstream in(mtest::readFile(path));
	std::string line;
	while(std::getline(in, line))
	{
		if(line.compare(0, key.size() + 2, key + ": ") == 0) return line.substr(key.size() + 2);
	}
	ADD_FAILURE() << "no golden text " << key << " in " << path;
	return "?";
}

// The warnings in captured output, as "place, WARNING: text".
std::vector<std::string> warnings(const std::string& out)
{
	std::vector<std::string> v;
	std::istringstream in(out);
	std::string line;
	const std::string prefix("      [Mirel2D-Message] ");
	while(std::getline(in, line))
	{
		if(line.compare(0, prefix.size(), prefix) == 0) v.push_back(line.substr(prefix.size()));
	}
	return v;
}

void expectOneWarning(const std::string& out, const std::string& goldenKey)
{
	EXPECT_EQ(warnings(out), std::vector<std::string>{golden(goldenKey)}) << out;
}

// Random points with five bad ones at fixed places: NaN x, infinite y, NaN z,
// -infinity x and x beyond the supported range. The others are returned in vGood.
std::vector<Point2> pointsWithBadOnes(size_t n, std::vector<bool>& vBad, std::vector<Point2>& vGood)
{
	std::mt19937 rng{static_cast<unsigned>(n)};
	std::vector<Point2> v(mtest::uniformPoints(rng, n, -100.0, 100.0));
	// Some duplicates of good points as well: their handles are the first copy's.
	for(size_t i = 10; i < n; i += 17) v[i] = Point2(v[i - 7].x(), v[i - 7].y(), -1.0);
	const double aBad[5][3] = {{NaN, 1, 2}, {3, Inf, 4}, {5, 6, NaN}, {-Inf, 7, 8}, {1.0000001e300 * 10, 9, 10}};
	vBad.assign(n, false);
	for(int k = 0; k < 5; ++k)
	{
		size_t at(k == 0 ? 0 : (k * n) / 5 + 3);
		v[at] = Point2(aBad[k][0], aBad[k][1], aBad[k][2]);
		vBad[at] = true;
	}
	vGood.clear();
	for(size_t i = 0; i < n; ++i)
		if(!vBad[i]) vGood.push_back(v[i]);
	return v;
}

void checkHandlesWithRefusals(const std::vector<Point2>& vPoints, const std::vector<bool>& vBad, const std::vector<Point2*>& vHandles)
{
	ASSERT_EQ(vHandles.size(), vPoints.size());
	std::vector<Point2> vGood;
	std::vector<Point2*> vGoodHandles;
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		if(vBad[i]) EXPECT_EQ(vHandles[i], nullptr) << i;
		else
		{
			vGood.push_back(vPoints[i]);
			vGoodHandles.push_back(vHandles[i]);
		}
	}
	mtest::checkHandles(vGood, vGoodHandles);
}
} // namespace

// All three batch variants, sequential and parallel (a batch of 3000 on two
// threads takes the parallel path): every finite point goes in, the mesh is
// exactly Delaunay over them, handles of refused points are null.
TEST(InputRefusal, BatchesKeepEveryAcceptedPoint)
{
	for(size_t n : {size_t(102), size_t(3000)})
		for(int numCPU : {1, 2})
			for(int variant = 0; variant < 3; ++variant)
			{
				SCOPED_TRACE("n=" + std::to_string(n) + " cpu=" + std::to_string(numCPU) + " variant=" + std::to_string(variant));
				std::vector<bool> vBad;
				std::vector<Point2> vGood;
				std::vector<Point2> vPoints(pointsWithBadOnes(n, vBad, vGood));
				Mirel_2D dt{static_cast<unsigned>(n)};
				dt.setNumCPU(numCPU);
				std::vector<Point2*> vHandles;
				std::string out(mtest::captureStdout([&] {
					if(variant == 0) dt.insert(vPoints);
					else if(variant == 1) dt.insert(vPoints, vHandles);
					else
					{
						std::vector<double> vCoords;
						for(const Point2& p : vPoints) vCoords.insert(vCoords.end(), {p.x(), p.y(), p.z()});
						vHandles.assign(n, reinterpret_cast<Point2*>(&vCoords)); // overwritten: none may stay
						dt.insert(int(n), vCoords.data(), vHandles.data());
					}
				}));
				const char* aPlace[3] = {"vector", "handles", "array"};
				expectOneWarning(out, std::string("batch ") + aPlace[variant] + " " + std::to_string(n));
				mtest::validate(dt, vGood);
				if(variant == 2)
					for(Point2& p : vPoints) p.setCustomIndex(-1); // the array form carries none
				if(variant > 0) checkHandlesWithRefusals(vPoints, vBad, vHandles);
			}
}

// One refused point changes nothing; queries with refused points answer null,
// collinear or NaN, each with one warning.
TEST(InputRefusal, SinglePointsAndQueries)
{
	std::mt19937 rng(7);
	std::vector<Point2> vPoints(mtest::uniformPoints(rng, 200, 0.0, 10.0));
	Mirel_2D dt(200);
	dt.insert(vPoints);
	for(const Point2& bad : {Point2(NaN, 1, 1), Point2(1, -Inf, 1), Point2(1, 1, Inf), Point2(2e300, 1, 1)})
	{
		Point2* pVtx(reinterpret_cast<Point2*>(&dt));
		std::string out(mtest::captureStdout([&] { pVtx = dt.insert(bad); }));
		EXPECT_EQ(pVtx, nullptr);
		EXPECT_EQ(warnings(out).size(), 1u) << out;
		mtest::validate(dt, vPoints);
	}
	std::string out(mtest::captureStdout([&] { EXPECT_EQ(dt.insert(Point2(NaN, NaN, NaN)), nullptr); }));
	expectOneWarning(out, "single");
	out = mtest::captureStdout([&] { EXPECT_EQ(dt.locate(Point2(5, NaN, 0)), nullptr); });
	expectOneWarning(out, "locate");
	out = mtest::captureStdout([&] { EXPECT_EQ(dt.locate(Point2(-1e301, 5, 0)), nullptr); });
	expectOneWarning(out, "locate range");
	EXPECT_NE(dt.locate(Point2(5, 5, 1)), nullptr);

	Point2 a(0, 0, 0), b(1, 0, 0), c(NaN, 1, 0), d(Inf, Inf, 0);
	out = mtest::captureStdout([&] {
		EXPECT_EQ(dt.getOrientation(a, b, c), ORIENTATION2_COLLINEAR);
		EXPECT_EQ(getOrientation2(&a, &c, &d), ORIENTATION2_COLLINEAR);
		EXPECT_TRUE(std::isnan(getExactHeight(a, b, Point2(0, 1, 0), NaN, 0.5)));
	});
	EXPECT_EQ(warnings(out), (std::vector<std::string>{golden("orientation"), golden("orientation two"), golden("height")}));
	// Huge but finite values are decided exactly by the predicates.
	Point2 e(1.7e308, 1.7e308, 0), f(-1.7e308, -1.7e308, 0), g(1e-320, 0, 0);
	EXPECT_EQ(getOrientation2(&e, &f, &g), ORIENTATION2_CCW);
	EXPECT_EQ(getOrientation2_mt(&f, &e, &g), ORIENTATION2_CW);
	mtest::validate(dt, vPoints);
}

// Constraint segments with a refused end are left out, the others become
// edges; a cookie-cutter polygon or a zone seed with a refused point creates
// nothing and leaves the triangulation as it was.
TEST(InputRefusal, ConstraintsAndZones)
{
	std::vector<Point2> vGrid(mtest::gridPoints(11, 11, 1.0, 0.0));
	Mirel_2D dt(200);
	dt.insert(vGrid);
	std::vector<Segment2> vSegments{Segment2(Point2(0.5, 0.5, 0), Point2(9.5, 9.5, 0)), Segment2(Point2(NaN, 1, 0), Point2(3, 3, 0)),
		Segment2(Point2(0.5, 9.5, 0), Point2(9.5, 0.5, 0)), Segment2(Point2(1, 1, 0), Point2(4e300, 3, 0))};
	ConstraintGraph2* pGraph(nullptr);
	std::string out(mtest::captureStdout([&] { pGraph = dt.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY); }));
	expectOneWarning(out, "constraint");
	ASSERT_NE(pGraph, nullptr);
	EXPECT_TRUE(dt.checkValidity(false, "refusedConstraint"));
	std::vector<ConstraintSegment2*> vAlive;
	dt.getAliveConstraintSegments(vAlive);
	ASSERT_GE(vAlive.size(), 4u); // the two diagonals, split at their crossing and at grid points
	for(ConstraintSegment2* pCSeg : vAlive)
	{
		EXPECT_NE(dt.getAdjacentTriangle(pCSeg->getSrc(), pCSeg->getTrg()), nullptr);
		const Point2 &a(*pCSeg->getSrc()), &b(*pCSeg->getTrg());
		bool bOnFirst(mtest::exactOrientation(vSegments[0].getSrc(), vSegments[0].getTrg(), a) == 0 && mtest::exactOrientation(vSegments[0].getSrc(), vSegments[0].getTrg(), b) == 0);
		bool bOnThird(mtest::exactOrientation(vSegments[2].getSrc(), vSegments[2].getTrg(), a) == 0 && mtest::exactOrientation(vSegments[2].getSrc(), vSegments[2].getTrg(), b) == 0);
		EXPECT_TRUE(bOnFirst || bOnThird) << "a piece of a refused segment";
	}

	size_t numTriangles(dt.numberOfTriangles()), numPoints(dt.numberOfPoints());
	std::vector<Segment2> vAllRefused{Segment2(Point2(1, 1, 0), Point2(NaN, 2, 0))};
	out = mtest::captureStdout([&] { EXPECT_EQ(dt.createConstraint(vAllRefused, CIS_CONFORMING_SURFACE_HEIGHT), nullptr); });
	expectOneWarning(out, "constraint all refused");
	std::vector<Segment2> vPolygon{Segment2(Point2(2, 2, 0), Point2(6, 2, 0)), Segment2(Point2(6, 2, 0), Point2(6, Inf, 0)),
		Segment2(Point2(6, Inf, 0), Point2(2, 2, 0))};
	Zone2* pZone(reinterpret_cast<Zone2*>(&dt));
	out = mtest::captureStdout([&] { pZone = dt.createZone_cookieCutter(vPolygon); });
	EXPECT_EQ(pZone, nullptr);
	expectOneWarning(out, "cookie cutter");
	out = mtest::captureStdout([&] { pZone = dt.createZone(pGraph, ZL_GROW, Point2(NaN, 2, 0)); });
	EXPECT_EQ(pZone, nullptr);
	expectOneWarning(out, "zone seed");
	EXPECT_TRUE(dt.numberOfTriangles() == numTriangles && dt.numberOfPoints() == numPoints);
	EXPECT_TRUE(dt.checkValidity(false, "refusedZone"));
}

// The supported range is decided exactly: magnitudes up to 1e300, spreads of
// subnormal numbers, both at once; sequential, parallel and with constraints.
TEST(InputRefusal, SupportedRangeIsExact)
{
	std::mt19937 rng(11);
	std::uniform_real_distribution<double> unit(-1.0, 1.0);
	struct Case
	{
		double scale, offset;
	};
	for(const Case& c : {Case{1e300, 0.0}, Case{1e-310, 0.0}, Case{4e-321, 0.0}, Case{1e290, 1e300 - 1e290}, Case{1e285, -1e300 + 1e285}})
		for(int numCPU : {1, 2})
		{
			SCOPED_TRACE(testing::Message() << "scale " << c.scale << " cpu " << numCPU);
			std::vector<Point2> vPoints;
			for(int i = 0; i < 1200; ++i) vPoints.push_back(Point2(c.offset + c.scale * unit(rng), c.offset + c.scale * unit(rng), 0.0));
			// Gridded and cocircular points too: exact ties everywhere.
			for(int i = -4; i <= 4; ++i)
				for(int j = -4; j <= 4; ++j) vPoints.push_back(Point2(c.offset + c.scale * i / 8, c.offset + c.scale * j / 8, 1.0));
			vPoints.push_back(Point2(c.offset + c.scale, c.offset + c.scale, 0.0)); // the extremes themselves
			vPoints.push_back(Point2(c.offset - c.scale, c.offset - c.scale, 0.0));
			Mirel_2D dt(2000);
			dt.setNumCPU(numCPU);
			std::string out(mtest::captureStdout([&] { dt.insert(vPoints); }));
			EXPECT_EQ(out.find("[Mirel2D-Message]"), std::string::npos) << out;
			mtest::validate(dt, vPoints);
			std::vector<Segment2> vSegments;
			for(int k = 0; k < 6; ++k)
			{
				vSegments.push_back(Segment2(Point2(c.offset + c.scale * unit(rng), c.offset + c.scale * unit(rng), 0),
					Point2(c.offset + c.scale * unit(rng), c.offset + c.scale * unit(rng), 0)));
			}
			ASSERT_NE(dt.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY), nullptr);
			EXPECT_TRUE(dt.checkValidity(false, "extremeRange"));
			EXPECT_NE(dt.locate(Point2(c.offset, c.offset, 0)), nullptr);
		}
}

// ---------------------------------------------------------------------------
// Hostile files

namespace {
using mtest::binaryFile;
using mtest::writeBytes;
} // namespace

// A header that claims far more than the file holds is refused before
// anything is reserved.
TEST(HostileFiles, HeaderClaimsMoreThanTheFileHolds)
{
	for(int64_t claim : {int64_t(1000000000000), std::numeric_limits<int64_t>::max(), int64_t(1) << 62})
	{
		writeBytes("hostile_points.bin", binaryFile(30, claim, {1, 2, 3, 4, 5, 6}));
		writeBytes("hostile_segments.bin", binaryFile(31, claim, {1, 2, 3, 4, 5, 6}));
		std::vector<Point2> vPoints;
		std::vector<Segment2> vSegments;
		std::string out(mtest::captureStdout([&] {
			EXPECT_FALSE(readPointsBIN("hostile_points.bin", vPoints));
			EXPECT_FALSE(readSegmentsBIN("hostile_segments.bin", vSegments));
		}));
		EXPECT_TRUE(vPoints.empty() && vSegments.empty());
		EXPECT_EQ(out, "hostile_points.bin is truncated: its header claims " + std::to_string(claim) + " points, the file holds 2\n" +
				"hostile_segments.bin is truncated: its header claims " + std::to_string(claim) + " segments, the file holds 1\n");
	}
}

// Random bytes, with and without a valid type in front: the readers never
// crash, and whatever they return is finite.
TEST(HostileFiles, RandomBytesAndNonFiniteValues)
{
	std::mt19937 rng(3);
	for(int round = 0; round < 300; ++round)
	{
		// Nothing, a valid type, or a valid type and a small count in front.
		std::string bytes(binaryFile(std::vector<int>{20, 30, 21, 31}[round % 4], int64_t(rng() % 8), {}).substr(0, size_t(4 * (round % 3) * (round % 3))));
		size_t length(rng() % 300);
		for(size_t i = 0; i < length; ++i) bytes.push_back(char(rng()));
		writeBytes("random.bin", bytes);
		std::vector<Point2> vPoints;
		std::vector<Segment2> vSegments;
		mtest::captureStdout([&] {
			readPointsBIN("random.bin", vPoints);
			readSegmentsBIN("random.bin", vSegments);
			readXY("random.bin", vPoints);
			readXYZ("random.bin", vPoints);
		});
		for(const Point2& p : vPoints) ASSERT_TRUE(std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z()));
		for(const Segment2& s : vSegments) ASSERT_TRUE(std::isfinite(s.getSrc().x() + s.getSrc().y() + s.getSrc().z() + s.getTrg().x() + s.getTrg().y() + s.getTrg().z()));
	}
	// Non-finite values in a file are refused one point at a time.
	writeBytes("nonfinite.bin", binaryFile(30, 3, {1, 2, 3, NaN, 5, 6, 7, 8, 9}));
	writeBytes("nonfinite.xyz", "1 2 3\nnan 5 6\n7 8 inf\n1e999 1 1\n10 11 12\n");
	std::vector<Point2> vBin, vText;
	std::string out(mtest::captureStdout([&] {
		EXPECT_TRUE(readPointsBIN("nonfinite.bin", vBin));
		EXPECT_TRUE(readXYZ("nonfinite.xyz", vText));
	}));
	EXPECT_EQ(vBin, (std::vector<Point2>{Point2(1, 2, 3), Point2(7, 8, 9)}));
	EXPECT_EQ(vText, (std::vector<Point2>{Point2(1, 2, 3), Point2(10, 11, 12)}));
	EXPECT_EQ(warnings(out), (std::vector<std::string>{golden("binary file"), golden("text file")}));
}

// A text file that is one line of a gigabyte: the reader stops after the
// longest possible number, the tool after its longest line.
TEST(HostileFiles, GigabyteLine)
{
	writeBytes("huge_line.xyz", std::string(4096, '7'));
	ASSERT_EQ(truncate("huge_line.xyz", off_t(1) << 30), 0); // a hole of zero bytes the file system does not store
	std::vector<Point2> vPoints;
	std::string out(mtest::captureStdout([&] { EXPECT_FALSE(readXYZ("huge_line.xyz", vPoints)); }));
	EXPECT_TRUE(vPoints.empty());
	EXPECT_EQ(out, "huge_line.xyz has a word longer than 1024 characters where a number should be\n");
	std::string toolOut;
	int status(mtest::runTool("-i huge_line.xyz -o huge_out --no-ps --no-obj", toolOut));
	if(status != -1)
	{
		EXPECT_EQ(status, 1);
		EXPECT_NE(toolOut.find("mirel: error: huge_line.xyz: line 1 is longer than 65536 characters"), std::string::npos) << toolOut;
	}
	std::remove("huge_line.xyz");
}
