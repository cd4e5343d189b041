#ifndef TLG_TOOLS_PPSCTL_REQUESTS_H
#define TLG_TOOLS_PPSCTL_REQUESTS_H

#include <optional>
#include <string>
#include <vector>

namespace ppsctl {

/// One line on standard error, with the subject of what failed and the reason. Returns the exit status 1.
int Fail(const std::string& subject, const std::string& reason);
/// @param error an errno number; 0 where the server has ended
int Fail(const std::string& subject, int error);

/// The paths of all objects in their order; nothing, with the reason in @p error, where the server does not answer.
std::optional<std::vector<std::string>> ListObjects(std::string& error);

} // namespace ppsctl

#endif
