// mirel contours: contour lines of the terrain at an interval or at listed
// heights, as a line layer with a "height" field.
#include "Commands.h"
#include "IsoContours.h"
#include "ProgressBar.h"
#include "TerrainModel.h"
#include <cmath>
#include <cstdlib>
#include <limits>
#include <sstream>

namespace mireltool {

using namespace MIREL25D;

namespace {
const double LARGEST(std::numeric_limits<double>::max());
// More levels than any plan can show: a mistyped interval.
const size_t MAX_LEVELS(100000);

const std::vector<OptionDef>& optionSpecs()
{
	static const std::vector<OptionDef> vOptionDefs = withCommonOptions(
		{
			{"interval", 0, true, "H", "a contour every H height units"},
			{"base", 0, true, "B", "with --interval: the contour heights are B + k x H (default 0)"},
			{"heights", 0, true, "H1,H2,..", "contours at these heights instead of an interval"},
			{"output", 0, true, "FILE", "the line layer; its extension picks the format (default DIR/NAME_contours.gpkg)"},
		},
		OG_TERRAIN | OG_OUTPUT | OG_FILES);
	return vOptionDefs;
}

std::vector<double> listedHeights(const std::string& text)
{
	std::vector<double> v;
	std::istringstream in(text);
	std::string item;
	while(std::getline(in, item, ','))
	{
		char* pEnd(nullptr);
		double h(std::strtod(item.c_str(), &pEnd));
		if(item.empty() || *pEnd != '\0' || !std::isfinite(h)) throw UsageError{"--heights expects numbers separated by commas, not '" + item + "'"};
		v.push_back(h);
	}
	if(v.empty()) throw UsageError{"--heights expects numbers separated by commas"};
	return v;
}

// The levels base + k x interval within [zMin, zMax].
std::vector<double> intervalHeights(double base, double interval, double zMin, double zMax)
{
	double kFirst(std::ceil((zMin - base) / interval)), kLast(std::floor((zMax - base) / interval));
	if(kLast - kFirst + 1.0 > double(MAX_LEVELS)) throw UsageError{"--interval gives more than " + std::to_string(MAX_LEVELS) + " contour levels"};
	std::vector<double> v;
	for(double k = kFirst; k <= kLast; k += 1.0) v.push_back(base + k * interval);
	return v;
}

void contours(const ParsedOptions& opts, Summary& summary)
{
	std::string input(getInputs(opts, {"input terrain"})[0]);
	CommonSettings s(readCommonSettings(opts, stemOf(input)));
	if(opts.has("interval") == opts.has("heights")) throw UsageError{"give either --interval or --heights"};
	if(opts.has("base") && !opts.has("interval")) throw UsageError{"--base goes with --interval"};
	double interval(getNumber(opts, "interval", 1.0, 0.0, LARGEST, true));
	double base(getNumber(opts, "base", 0.0, -LARGEST, LARGEST, false));
	std::vector<double> vHeights(opts.has("heights") ? listedHeights(opts.get("heights", "")) : std::vector<double>());
	prepareOutputFolder(s.outputFolder);
	std::string outPath(vectorOutputPath(opts, s, "_contours.gpkg"));
	driverForFile(outPath);

	TerrainModel model(s);
	model.load(input);
	model.summarize(summary);
	std::vector<Triangle2*> vT;
	model.getTriangles(vT);
	IsoContours iso(vT);
	if(opts.has("interval")) vHeights = intervalHeights(base, interval, iso.getMinHeight(), iso.getMaxHeight());

	VectorLayerOutput layer(outPath, s.name + "_contours", GeometryKind::LINE, model.getCrs(), {{"height", FieldType::REAL}});
	ProgressBar bar(stderr, "contours");
	size_t numVertices(0);
	std::vector<std::vector<Segment2>> vvContours;
	for(size_t i = 0; i < vHeights.size(); ++i)
	{
		// Safe mode: a level at a vertex height is taken just above it.
		if(!iso.getContours(vHeights[i], vvContours, false, true)) throw InputError{input + ": no contour at height " + exactText(vHeights[i])};
		for(const std::vector<Segment2>& vContour : vvContours)
		{
			std::vector<Point2> vLine(1, vContour.front().getSrc());
			for(const Segment2& seg : vContour) vLine.push_back(seg.getTrg());
			numVertices += vLine.size();
			layer.addLine(vLine, {FieldValue::ofReal(vHeights[i])});
		}
		if(s.bProgress) bar.update(MSG_PROGRESS, 100.0 * double(i + 1) / double(vHeights.size()));
	}
	layer.commit();
	summary.addCount("levels", vHeights.size());
	summary.addCount("contour_lines", layer.numFeatures());
	summary.addCount("contour_vertices", numVertices);
	summary.addText("contours", layer.getFinalPath());
	model.writeFiles(summary, "contours of " + model.getWhat(), false);
}
} // namespace

const Command contoursCommand{"contours", "contour lines at an interval or at listed heights", "INPUT (--interval H [--base B] | --heights H1,H2,..) [OPTIONS]", optionSpecs, contours};

} // namespace mireltool
