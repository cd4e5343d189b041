#ifndef TLG_PLATFORM_HOST_ROOT_H
#define TLG_PLATFORM_HOST_ROOT_H

#include <string>
#include <string_view>

namespace host {

/// The directory below which every absolute path of the system lies: the environment variable
/// TLG_ROOT without trailing slashes; empty for "/". The variable is read at each call.
std::string Root();

/// Where @p path (absolute) lies on this machine.
std::string BelowRoot(std::string_view path);

} // namespace host

#endif
