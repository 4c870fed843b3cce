#pragma once
#include "MirelExportMacro.h"
#include <exception>
#include <string>

namespace MIREL25D {

// Thrown after an assertion banner: an internal invariant broke and the
// triangulation must not be used any further.
class MIREL_API MirelException : public std::exception
{
public:
	explicit MirelException(const std::string& msg_);
	const char* what() const noexcept override;
private:
	std::string msg;
};

} // namespace MIREL25D
