// mirel info: what a terrain holds: extent, points, heights, duplicates and
// the shape of its triangles.
#include "Commands.h"
#include "TerrainModel.h"
#include <algorithm>

namespace mireltool {

using namespace MIREL25D;

namespace {
const std::vector<OptionDef>& optionSpecs()
{
	static const std::vector<OptionDef> vOptionDefs = withCommonOptions({}, OG_TERRAIN | OG_OUTPUT | OG_FILES);
	return vOptionDefs;
}

void info(const ParsedOptions& opts, Summary& summary)
{
	std::string input(getInputs(opts, {"input terrain"})[0]);
	CommonSettings s(readCommonSettings(opts, stemOf(input)));
	if(s.bPs || s.bObj) prepareOutputFolder(s.outputFolder);
	TerrainModel model(s);
	model.load(input);
	model.summarize(summary);

	std::vector<Point2*> vVertices;
	model.dt().getVertexPointers(vVertices);
	Bbox2 box(model.dt().computeBoundingBox());
	summary.add("min_x", box.get_minX());
	summary.add("max_x", box.get_maxX());
	summary.add("min_y", box.get_minY());
	summary.add("max_y", box.get_maxY());
	auto zRange(std::minmax_element(vVertices.begin(), vVertices.end(), [](const Point2* a, const Point2* b) { return a->z() < b->z(); }));
	summary.add("min_z", (*zRange.first)->z());
	summary.add("max_z", (*zRange.second)->z());
	std::vector<Point2*> vHull;
	model.dt().getConvexHull(true, vHull);
	summary.addCount("hull_vertices", vHull.size());

	// The smallest angle of each triangle (in the plan), in 10-degree classes.
	std::vector<Triangle2*> vT;
	model.getTriangles(vT);
	double minAngle(180.0), sumMinAngles(0.0);
	unsigned long long aClasses[6] = {0, 0, 0, 0, 0, 0};
	for(const Triangle2* pT : vT)
	{
		double a(std::min({pT->getInteriorAngle2D(0), pT->getInteriorAngle2D(1), pT->getInteriorAngle2D(2)}));
		minAngle = std::min(minAngle, a);
		sumMinAngles += a;
		++aClasses[std::min(5, std::max(0, int(a / 10.0)))];
	}
	summary.add("min_angle", minAngle);
	summary.add("mean_min_angle", vT.empty() ? 0.0 : sumMinAngles / double(vT.size()));
	for(int c = 0; c < 6; ++c) summary.addCount("min_angle_" + std::to_string(10 * c) + "_to_" + std::to_string(10 * c + 10), aClasses[c]);
	model.writeFiles(summary, "terrain " + model.getWhat(), false);
}
} // namespace

const Command infoCommand{"info", "extent, points, heights, duplicates and triangle angles of a terrain", "INPUT [OPTIONS]", optionSpecs, info};

} // namespace mireltool
