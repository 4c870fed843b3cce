// mirel: the command-line tool of the Mirel 2.5D library.
//
//   mirel [COMMAND] [OPTIONS]
//
// Without a command (or with options only) it runs "triangulate".
#include "CommandLine.h"
#include "Commands.h"
#include "MirelException.h"
#include "freeFunctions.h"
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

using namespace mireltool;

namespace {
const Command* const aCommands[] = {&triangulateCommand, &meshCommand, &contoursCommand, &heightCommand, &drapeCommand, &volumeCommand, &sceneCommand,
	&infoCommand, &generateCommand};
const char* DEFAULT_COMMAND("triangulate");

const Command* findCommand(const std::string& name)
{
	for(const Command* pCmd : aCommands)
	{
		if(name == pCmd->name) return pCmd;
	}
	return nullptr;
}

void printOverview()
{
	std::cout << "mirel, exact 2.5D Delaunay triangulation (" << MIREL25D::getMirel2DVersion() << ")\n\n"
			  << "Usage: mirel [COMMAND] [OPTIONS]\n\n"
			  << "Commands:\n";
	for(const Command* pCmd : aCommands) std::cout << "  " << std::left << std::setw(16) << pCmd->name << pCmd->summary << "\n";
	std::cout << "  " << std::setw(16) << "help [COMMAND]" << "this overview, or the options of a command\n\n"
			  << "Without a command mirel runs '" << DEFAULT_COMMAND << "'; with no arguments at all it triangulates\n"
			  << "its built-in terrain and writes the results to the folder mirel_out.\n\n"
			  << "Options of '" << DEFAULT_COMMAND << "':\n"
			  << formatOptions(findCommand(DEFAULT_COMMAND)->options()) << "\n"
			  << "Exit status: 0 success, 1 bad input or unwritable output, 2 wrong usage.\n";
}

int runHelp(const std::vector<std::string>& vArgs)
{
	if(vArgs.empty())
	{
		printOverview();
		return EXIT_OK;
	}
	const Command* pCmd(findCommand(vArgs[0]));
	if(pCmd == nullptr)
	{
		printError("unknown command '" + vArgs[0] + "' (see mirel --help)");
		return EXIT_USAGE;
	}
	std::cout << commandHelp(*pCmd);
	return EXIT_OK;
}
} // namespace

namespace mireltool {
void printError(const std::string& message)
{
	std::cout << std::flush;
	std::cerr << "mirel: error: " << message << std::endl;
}
} // namespace mireltool

int main(int argc, char** argv)
{
	std::vector<std::string> vArgs(argv + 1, argv + argc);
	try
	{
		if(!vArgs.empty() && (vArgs[0] == "help" || vArgs[0] == "--help" || vArgs[0] == "-h"))
		{
			return runHelp(std::vector<std::string>(vArgs.begin() + 1, vArgs.end()));
		}
		if(!vArgs.empty() && vArgs[0] == "--version")
		{
			std::cout << MIREL25D::getMirel2DVersion() << std::endl;
			return EXIT_OK;
		}
		const Command* pCmd(findCommand(DEFAULT_COMMAND));
		if(!vArgs.empty() && !vArgs[0].empty() && vArgs[0][0] != '-')
		{
			pCmd = findCommand(vArgs[0]);
			if(pCmd != nullptr) vArgs.erase(vArgs.begin());
			// A first word that names a file (even a missing one: its error
			// names it) is the input of the default command; a bare word is a
			// mistyped command.
			else if(vArgs[0].find_first_of("./") != std::string::npos || std::filesystem::exists(vArgs[0])) pCmd = findCommand(DEFAULT_COMMAND);
			else
			{
				printError("unknown command '" + vArgs[0] + "' (see mirel --help)");
				return EXIT_USAGE;
			}
		}
		return runCommand(*pCmd, vArgs);
	}
	catch(const MIREL25D::MirelException&)
	{
		// The library has printed its banner already.
		printError("internal error in the library (see MIREL_LOG.txt)");
	}
	catch(const std::bad_alloc&)
	{
		printError("out of memory");
	}
	catch(const std::exception& e)
	{
		printError(e.what());
	}
	return EXIT_FAILED;
}
