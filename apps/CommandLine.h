#pragma once
// Options of the tool's commands: "--name value", "--name=value", "-n value"
// and flags, plus positional arguments. A command declares its options; the
// parser rejects anything else with a one-line message.
#include <map>
#include <string>
#include <vector>

namespace mireltool {

struct OptionDef
{
	std::string longName; // "output-dir"
	char shortName; // 'o', or 0 for none
	bool bTakesValue;
	std::string valueName; // "DIR", shown in the help
	std::string help;
};

// A usage error: the message says what is wrong, the tool exits with code 2.
struct UsageError
{
	std::string message;
};

class ParsedOptions
{
public:
	bool has(const std::string& longName) const { return mValues.count(longName) != 0; }
	std::string get(const std::string& longName, const std::string& defaultValue) const;
	// Whole-number values; anything else (or out of [minValue, maxValue]) is a UsageError.
	long long getInteger(const std::string& longName, long long defaultValue, long long minValue, long long maxValue) const;
	const std::vector<std::string>& getPositional() const { return vPositional; }

private:
	friend ParsedOptions parseOptions(const std::vector<OptionDef>& vOptionDefs, const std::vector<std::string>& vArgs);
	std::map<std::string, std::string> mValues;
	std::vector<std::string> vPositional;
};

ParsedOptions parseOptions(const std::vector<OptionDef>& vOptionDefs, const std::vector<std::string>& vArgs);
// The option table as help text, one aligned line (or more) per option.
std::string formatOptions(const std::vector<OptionDef>& vOptionDefs);

} // namespace mireltool
