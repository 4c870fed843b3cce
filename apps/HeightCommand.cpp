// mirel height: the terrain's height at query points (stake-out points, say).
#include "Commands.h"
#include "TerrainModel.h"
#include <filesystem>
#include <fstream>

namespace mireltool {

using namespace MIREL25D;

namespace {
const std::vector<OptionDef>& optionSpecs()
{
	static const std::vector<OptionDef> vOptionDefs = withCommonOptions(
		{
			{"points", 0, true, "FILE", "query points: text (x y per line) or a vector file's points"},
			{"output", 0, true, "FILE", "*.txt: \"x y z\" lines (z nan outside the terrain); otherwise a Point Z layer with a field \"found\" (default DIR/NAME_heights.gpkg)"},
		},
		OG_TERRAIN | OG_OUTPUT | OG_FILES);
	return vOptionDefs;
}

void writeText(const std::string& path, const std::vector<Point2>& vPoints, const std::vector<bool>& vHasHeight)
{
	std::string folder(std::filesystem::path(path).parent_path().string());
	PendingFile file(folder.empty() ? "." : folder, std::filesystem::path(path).filename().string());
	{
		std::ofstream out(file.getTempPath());
		for(size_t i = 0; i < vPoints.size() && out; ++i)
		{
			out << exactText(vPoints[i].x()) << ' ' << exactText(vPoints[i].y()) << ' ' << (vHasHeight[i] ? exactText(vPoints[i].z()) : "nan") << '\n';
		}
		out.flush();
		if(!out) throw OutputError{path + ": can't be written"};
	}
	file.commit();
}

void height(const ParsedOptions& opts, Summary& summary)
{
	std::string input(getInputs(opts, {"input terrain"})[0]);
	CommonSettings s(readCommonSettings(opts, stemOf(input)));
	std::string pointsFile(opts.get("points", ""));
	if(pointsFile.empty()) throw UsageError{"--points FILE is needed: the query points"};
	prepareOutputFolder(s.outputFolder);
	std::string outPath(vectorOutputPath(opts, s, "_heights.gpkg"));
	bool bText(std::filesystem::path(outPath).extension() == ".txt");
	if(!bText) driverForFile(outPath);

	std::vector<Point2> vQueries;
	readTerrainPoints(pointsFile, PointFormat::AUTO, 1, vQueries);
	TerrainModel model(s);
	model.load(input);
	model.summarize(summary);
	std::vector<bool> vHasHeight;
	size_t numFound(model.dt().getHeights(vQueries, vHasHeight));
	if(bText) writeText(outPath, vQueries, vHasHeight);
	else
	{
		VectorLayerOutput layer(outPath, s.name + "_heights", GeometryKind::POINT_Z, model.getCrs(), {{"found", FieldType::INTEGER}});
		for(size_t i = 0; i < vQueries.size(); ++i)
		{
			Point2 p(vQueries[i].x(), vQueries[i].y(), vHasHeight[i] ? vQueries[i].z() : 0.0);
			layer.addPoint(p, {FieldValue::ofInteger(vHasHeight[i] ? 1 : 0)});
		}
		layer.commit();
	}
	summary.addCount("queries", vQueries.size());
	summary.addCount("found", numFound);
	summary.addCount("outside", vQueries.size() - numFound);
	summary.addText("heights", outPath);
	model.writeFiles(summary, "terrain " + model.getWhat(), false);
}
} // namespace

const Command heightCommand{"height", "terrain heights at query points", "INPUT --points FILE [OPTIONS]", optionSpecs, height};

} // namespace mireltool
