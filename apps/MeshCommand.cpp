// mirel mesh: a quality mesh of the area inside a boundary (holes and
// breaklines respected) for simulations.
#include "Commands.h"
#include "MeshGenParams.h"
#include "TerrainModel.h"
#include <algorithm>
#include <limits>

namespace mireltool {

using namespace MIREL25D;

namespace {
const double LARGEST(std::numeric_limits<double>::max());

const std::vector<OptionDef>& optionSpecs()
{
	static const std::vector<OptionDef> vOptionDefs = withCommonOptions(
		{
			{"min-angle", 0, true, "DEG", "smallest interior angle to reach, at most 30 degrees (default 20)"},
			{"max-edge", 0, true, "L", "largest edge length (default: no limit)"},
			{"max-area", 0, true, "A", "largest triangle area (default: no limit)"},
			{"grid", 0, true, "L", "lay a grid of spacing L into the area before refining (default: no grid)"},
		},
		OG_TERRAIN | OG_OUTPUT | OG_FILES);
	return vOptionDefs;
}

void mesh(const ParsedOptions& opts, Summary& summary)
{
	std::string input(getInputs(opts, {"input terrain"})[0]);
	CommonSettings s(readCommonSettings(opts, stemOf(input)));
	if(s.boundaryFile.empty()) throw UsageError{"--boundary is needed: it bounds the area to mesh"};
	s.bObj = true;
	double minAngle(getNumber(opts, "min-angle", 20.0, 0.0, 30.0, false));
	double maxEdge(getNumber(opts, "max-edge", LARGEST, 0.0, LARGEST, true));
	double maxArea(getNumber(opts, "max-area", LARGEST, 0.0, LARGEST, true));
	double grid(getNumber(opts, "grid", 0.0, 0.0, LARGEST, true));
	prepareOutputFolder(s.outputFolder);

	TerrainModel model(s);
	model.load(input);
	model.summarize(summary);
	// Refinement takes a zone bounded by a single graph: the rings become one.
	Zone2* pZone(model.getZone()->convertToBoundedZone());
	MeshGenParams params(pZone);
	params.minAngleDegree = minAngle;
	params.maxEdgeLength = maxEdge;
	params.maxTriangleArea = maxArea;
	params.gridLength = grid;
	model.dt().refineAdvanced(&params);

	std::vector<Triangle2*> vT;
	pZone->getTriangles(vT);
	double minReached(180.0);
	size_t numBelow(0);
	for(const Triangle2* pT : vT)
	{
		double a(std::min({pT->getInteriorAngle25D(0), pT->getInteriorAngle25D(1), pT->getInteriorAngle25D(2)}));
		minReached = std::min(minReached, a);
		numBelow += a < minAngle ? 1 : 0;
	}
	summary.addCount("mesh_triangles", vT.size());
	summary.addCount("mesh_vertices", model.dt().numberOfPoints());
	summary.add("min_angle_reached", minReached);
	// Input angles smaller than the bound and short constraint edges stay.
	summary.addCount("below_min_angle", numBelow);
	model.writeFiles(summary, std::to_string(vT.size()) + " triangles of the quality mesh of " + model.getWhat(), false);
}
} // namespace

const Command meshCommand{"mesh", "quality mesh of the area inside a boundary, with holes and breaklines", "INPUT --boundary FILE [OPTIONS]", optionSpecs, mesh};

} // namespace mireltool
