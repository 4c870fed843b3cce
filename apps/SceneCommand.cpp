// mirel scene: the terrain, or the area inside a boundary, as a folder to
// open in a web browser.
#include "Commands.h"
#include "TerrainModel.h"
#include <filesystem>

namespace mireltool {

using namespace MIREL25D;
namespace fs = std::filesystem;

namespace {
const std::vector<OptionDef>& optionSpecs()
{
	static const std::vector<OptionDef> vOptionDefs = withCommonOptions({}, OG_TERRAIN | OG_OUTPUT | OG_FILES);
	return vOptionDefs;
}

void scene(const ParsedOptions& opts, Summary& summary)
{
	std::string input(getInputs(opts, {"input terrain"})[0]);
	CommonSettings s(readCommonSettings(opts, stemOf(input)));
	prepareOutputFolder(s.outputFolder);
	TerrainModel model(s);
	model.load(input);
	model.summarize(summary);

	PendingFile folder(s.outputFolder, s.name + "_scene");
	if(model.getZone() != nullptr) model.dt().writeWebScene(folder.getTempPath().c_str(), model.getZone());
	else model.dt().writeWebScene(folder.getTempPath().c_str());
	std::error_code ec;
	if(!fs::exists(fs::path(folder.getTempPath()) / "index.html", ec)) throw OutputError{folder.getFinalPath() + ": the scene can't be written"};
	// A scene of an earlier run is replaced as a whole.
	fs::remove_all(folder.getFinalPath(), ec);
	folder.commit();
	summary.addText("scene", (fs::path(folder.getFinalPath()) / "index.html").string());
	model.writeFiles(summary, "terrain " + model.getWhat(), false);
}
} // namespace

const Command sceneCommand{"scene", "the terrain as a 3D scene for a web browser", "INPUT [OPTIONS]", optionSpecs, scene};

} // namespace mireltool
