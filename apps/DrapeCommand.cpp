// mirel drape: 2D lines (road centre lines, say) laid onto the terrain as 3D
// lines.
#include "Commands.h"
#include "ProgressBar.h"
#include "TerrainModel.h"
#include <limits>

namespace mireltool {

using namespace MIREL25D;

namespace {
const std::vector<OptionDef>& optionSpecs()
{
	static const std::vector<OptionDef> vOptionDefs = withCommonOptions(
		{
			{"lines", 0, true, "FILE", "vector file whose lines (and polygon rings) are draped"},
			{"tolerance", 0, true, "T", "leave out crossing points as long as the line stays within T in height (default: keep all)"},
			{"output", 0, true, "FILE", "the LineString Z layer (default DIR/NAME_draped.gpkg)"},
		},
		OG_TERRAIN | OG_OUTPUT | OG_FILES);
	return vOptionDefs;
}

// The draped pieces of one line, joined where one ends where the next starts.
void addPolylines(const std::vector<Segment2>& vDraped, VectorLayerOutput& layer, size_t& numVertices)
{
	std::vector<Point2> vLine;
	auto flush = [&]() {
		if(vLine.size() >= 2) layer.addLine(vLine, {});
		if(vLine.size() >= 2) numVertices += vLine.size();
		vLine.clear();
	};
	for(const Segment2& seg : vDraped)
	{
		if(!vLine.empty() && !(vLine.back() == seg.getSrc())) flush();
		if(vLine.empty()) vLine.push_back(seg.getSrc());
		vLine.push_back(seg.getTrg());
	}
	flush();
}

void drape(const ParsedOptions& opts, Summary& summary)
{
	std::string input(getInputs(opts, {"input terrain"})[0]);
	CommonSettings s(readCommonSettings(opts, stemOf(input)));
	std::string linesFile(opts.get("lines", ""));
	if(linesFile.empty()) throw UsageError{"--lines FILE is needed: the lines to drape"};
	double tolerance(getNumber(opts, "tolerance", -1.0, 0.0, std::numeric_limits<double>::max(), false));
	prepareOutputFolder(s.outputFolder);
	std::string outPath(vectorOutputPath(opts, s, "_draped.gpkg"));
	driverForFile(outPath);

	VectorData lines(readVectorFile(linesFile));
	for(const PolygonRings& polygon : lines.vPolygons)
	{
		lines.vLines.push_back(polygon.vOuter);
		lines.vLines.back().push_back(polygon.vOuter.front());
	}
	if(lines.vLines.empty()) throw InputError{linesFile + ": no line to drape"};
	TerrainModel model(s);
	model.load(input);
	model.summarize(summary);

	VectorLayerOutput layer(outPath, s.name + "_draped", GeometryKind::LINE_Z, model.getCrs(), {});
	ProgressBar bar(stderr, "drape");
	size_t numVertices(0);
	for(size_t i = 0; i < lines.vLines.size(); ++i)
	{
		std::vector<Segment2> vIn, vOut;
		const std::vector<Point2>& vLine(lines.vLines[i]);
		for(size_t k = 1; k < vLine.size(); ++k) vIn.push_back(Segment2(vLine[k - 1], vLine[k]));
		model.dt().drape(vIn, vOut, tolerance);
		addPolylines(vOut, layer, numVertices);
		if(s.bProgress) bar.update(MSG_PROGRESS, 100.0 * double(i + 1) / double(lines.vLines.size()));
	}
	layer.commit();
	summary.addCount("lines_in", lines.vLines.size());
	summary.addCount("lines_out", layer.numFeatures());
	summary.addCount("vertices_out", numVertices);
	summary.addText("draped", layer.getFinalPath());
	model.writeFiles(summary, "terrain " + model.getWhat(), false);
}
} // namespace

const Command drapeCommand{"drape", "2D lines laid onto the terrain as 3D lines", "INPUT --lines FILE [OPTIONS]", optionSpecs, drape};

} // namespace mireltool
