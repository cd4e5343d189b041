#ifndef TLG_TOOLS_PPSD_REPORT_H
#define TLG_TOOLS_PPSD_REPORT_H

#include <string_view>

namespace ppsd {

/// Prints a message of the server to standard error. It does not wait for a reader: where there is no room, the line
/// is dropped. It allocates no memory.
///
/// @param subject what it is about, such as a path
/// @param text    printable characters only: text of clients must have been quoted
void Report(std::string_view subject, std::string_view text) noexcept;

} // namespace ppsd

#endif
