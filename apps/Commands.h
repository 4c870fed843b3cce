#pragma once
// The tool's commands. Each one parses its own options, prints what it did on
// standard output and returns the process exit code. A new command is one
// entry in the table of mirel.cpp and one function pair here.
#include <string>
#include <vector>

namespace mireltool {

// Exit codes shared by all commands.
const int EXIT_OK(0);
const int EXIT_FAILED(1); // bad input, unwritable output, nothing to do
const int EXIT_USAGE(2); // unknown command or option, bad option value

struct Command
{
	const char* name;
	const char* summary;
	int (*run)(const std::vector<std::string>& vArgs);
	std::string (*help)();
};

int runTriangulate(const std::vector<std::string>& vArgs);
std::string helpTriangulate();
int runMesh(const std::vector<std::string>& vArgs); std::string helpMesh();
int runContours(const std::vector<std::string>& vArgs); std::string helpContours();
int runHeight(const std::vector<std::string>& vArgs); std::string helpHeight();
int runDrape(const std::vector<std::string>& vArgs); std::string helpDrape();
int runVolume(const std::vector<std::string>& vArgs); std::string helpVolume();
int runScene(const std::vector<std::string>& vArgs); std::string helpScene();
int runInfo(const std::vector<std::string>& vArgs); std::string helpInfo();
int runGenerate(const std::vector<std::string>& vArgs); std::string helpGenerate(); // the walkthrough's synthetic site

// "mirel: error: <message>" on standard error.
void printError(const std::string& message);

} // namespace mireltool
