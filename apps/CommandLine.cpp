#include "CommandLine.h"
#include <cerrno>
#include <cstdlib>
#include <sstream>

namespace mireltool {

std::string ParsedOptions::get(const std::string& longName, const std::string& defaultValue) const
{
	auto it(mValues.find(longName));
	return it == mValues.end() ? defaultValue : it->second;
}

long long ParsedOptions::getInteger(const std::string& longName, long long defaultValue, long long minValue, long long maxValue) const
{
	auto it(mValues.find(longName));
	if(it == mValues.end()) return defaultValue;
	const std::string& text(it->second);
	errno = 0;
	char* pEnd(nullptr);
	long long value(std::strtoll(text.c_str(), &pEnd, 10));
	if(text.empty() || *pEnd != '\0' || errno == ERANGE || value < minValue || value > maxValue)
	{
		std::ostringstream oss;
		oss << "--" << longName << " expects a whole number from " << minValue << " to " << maxValue << ", not '" << text << "'";
		throw UsageError{oss.str()};
	}
	return value;
}

namespace {
const OptionDef* findLong(const std::vector<OptionDef>& vOptionDefs, const std::string& name)
{
	for(const OptionDef& option : vOptionDefs)
	{
		if(option.longName == name) return &option;
	}
	return nullptr;
}

const OptionDef* findShort(const std::vector<OptionDef>& vOptionDefs, char c)
{
	for(const OptionDef& option : vOptionDefs)
	{
		if(option.shortName != 0 && option.shortName == c) return &option;
	}
	return nullptr;
}
} // namespace

ParsedOptions parseOptions(const std::vector<OptionDef>& vOptionDefs, const std::vector<std::string>& vArgs)
{
	ParsedOptions parsed;
	bool bOnlyPositional(false);
	for(size_t i = 0; i < vArgs.size(); ++i)
	{
		const std::string& arg(vArgs[i]);
		if(bOnlyPositional || arg.size() < 2 || arg[0] != '-')
		{
			parsed.vPositional.push_back(arg);
			continue;
		}
		if(arg == "--")
		{
			bOnlyPositional = true;
			continue;
		}
		const OptionDef* pSpec(nullptr);
		std::string inlineValue;
		bool bHasInlineValue(false);
		if(arg[1] == '-')
		{
			std::string name(arg.substr(2));
			size_t eq(name.find('='));
			if(eq != std::string::npos)
			{
				inlineValue = name.substr(eq + 1);
				name = name.substr(0, eq);
				bHasInlineValue = true;
			}
			pSpec = findLong(vOptionDefs, name);
		}
		else if(arg.size() == 2)
		{
			pSpec = findShort(vOptionDefs, arg[1]);
		}
		if(pSpec == nullptr) throw UsageError{"unknown option '" + arg + "'"};
		if(!pSpec->bTakesValue)
		{
			if(bHasInlineValue) throw UsageError{"--" + pSpec->longName + " takes no value"};
			parsed.mValues[pSpec->longName] = "";
			continue;
		}
		if(bHasInlineValue)
		{
			parsed.mValues[pSpec->longName] = inlineValue;
			continue;
		}
		if(i + 1 >= vArgs.size()) throw UsageError{"--" + pSpec->longName + " needs a value (" + pSpec->valueName + ")"};
		parsed.mValues[pSpec->longName] = vArgs[++i];
	}
	return parsed;
}

std::string formatOptions(const std::vector<OptionDef>& vOptionDefs)
{
	const size_t helpColumn(28);
	std::ostringstream oss;
	for(const OptionDef& option : vOptionDefs)
	{
		std::string left("  ");
		left += option.shortName != 0 ? std::string("-") + option.shortName + ", " : std::string("    ");
		left += "--" + option.longName;
		if(option.bTakesValue) left += " " + option.valueName;
		oss << left;
		if(left.size() + 2 > helpColumn) oss << "\n" << std::string(helpColumn, ' ');
		else oss << std::string(helpColumn - left.size(), ' ');
		oss << option.help << "\n";
	}
	return oss.str();
}

} // namespace mireltool
