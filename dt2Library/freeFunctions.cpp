#include "freeFunctions.h"
#include "MsgBase.h"
#include <string>

namespace MIREL25D {

namespace {
const std::string versionText(
	"Mirel2D " + std::to_string(getMajorVersionNumber()) + "." + std::to_string(getMinorVersionNumber()) + "." +
	std::to_string(getRevisionNumber()) + (isRelease() ? " RELEASE" : " DEBUG"));
}

MsgBase::~MsgBase() {}

const char* getMirel2DVersion()
{
	return versionText.c_str();
}
int getMajorVersionNumber()
{
	return 1;
}
int getMinorVersionNumber()
{
	return 85;
}
int getRevisionNumber()
{
	return 538;
}
bool isRelease()
{
	return true;
}

} // namespace MIREL25D
