#pragma once
// The tool's commands. Each one parses its own options, prints what it did on
// standard output and returns the process exit code. A new command is one
// entry in the table of mirel.cpp and one Command here.
#include "CommandLine.h"
#include <string>
#include <vector>

namespace mireltool {

// Exit codes shared by all commands.
const int EXIT_OK(0);
const int EXIT_FAILED(1); // bad input, unwritable output, nothing to do
const int EXIT_USAGE(2); // unknown command or option, bad option value

class Summary;
// A command's work: reads its options, does the work, fills the summary.
// Throws UsageError, InputError or OutputError.
using CommandBody = void (*)(const ParsedOptions& opts, Summary& summary);

struct Command
{
	const char* name;
	const char* summary;
	const char* usage; // what follows "mirel NAME" on the usage line
	const std::vector<OptionDef>& (*options)();
	CommandBody body;
};

// One per command unit.
extern const Command triangulateCommand, meshCommand, contoursCommand, heightCommand, drapeCommand, volumeCommand, sceneCommand, infoCommand,
	generateCommand;

// Parses the options, answers --help, runs the body, prints its summary and
// maps the errors to exit codes: UsageError 2, InputError and OutputError 1.
// With --json nothing but the JSON object reaches standard output (library
// messages go to standard error).
int runCommand(const Command& cmd, const std::vector<std::string>& vArgs);
// "Usage: mirel NAME USAGE", the summary and the options.
std::string commandHelp(const Command& cmd);

// "mirel: error: <message>" on standard error.
void printError(const std::string& message);

} // namespace mireltool
