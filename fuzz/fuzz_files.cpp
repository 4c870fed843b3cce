// The point and segment file readers of the library and the tool's point
// file parser on arbitrary bytes: no crash, no allocation beyond the file,
// finite values only; what the library reads triangulates into a valid mesh.
#include "FuzzSupport.h"
#include "CommandLine.h"
#include "PointInput.h"
#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace fuzz;

namespace {
void checkFinite(const std::vector<Point2>& v)
{
	for(const Point2& p : v) FUZZ_CHECK(std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z()));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	QuietStdout quiet;
	static const std::string name((std::filesystem::temp_directory_path() / ("mirel_fuzz_files_" + std::to_string(getpid()) + ".dat")).string());
	{
		std::ofstream out(name, std::ios::binary | std::ios::trunc);
		out.write(reinterpret_cast<const char*>(data), std::streamsize(size));
	}
	std::vector<Point2> vPoints;
	std::vector<Segment2> vSegments;
	readXY(name.c_str(), vPoints);
	readXYZ(name.c_str(), vPoints);
	readPointsBIN(name.c_str(), vPoints);
	readSegmentsBIN(name.c_str(), vSegments);
	FUZZ_CHECK(vSegments.size() <= size / 32);
	checkFinite(vPoints);
	for(const Segment2& seg : vSegments) checkFinite({seg.getSrc(), seg.getTrg()});

	std::vector<Point2> vToolPoints;
	for(mireltool::PointFormat format : {mireltool::PointFormat::AUTO, mireltool::PointFormat::XY, mireltool::PointFormat::XYZ, mireltool::PointFormat::BIN})
	{
		try
		{
			mireltool::readPointFile(name, format, vToolPoints);
		}
		catch(const mireltool::InputError&)
		{
		}
	}
	checkFinite(vToolPoints);

	// What was read goes into a triangulation (a bounded number, to keep runs fast).
	if(vPoints.size() > 200) vPoints.resize(200);
	Mirel_2D dt(200);
	dt.insert(vPoints);
	std::vector<Point2> vPlaces;
	for(const Point2& p : vPoints)
		if(std::fabs(p.x()) <= 1e300 && std::fabs(p.y()) <= 1e300) vPlaces.push_back(p);
	validate(dt, vPlaces, true);
	std::remove(name.c_str());
	return 0;
}
