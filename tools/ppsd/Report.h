#ifndef TLG_TOOLS_PPSD_REPORT_H
#define TLG_TOOLS_PPSD_REPORT_H

#include <string_view>

namespace ppsd {

/// Prints a line of the server's to standard error; where nobody reads that, the line is dropped and nobody waits.
/// It takes no memory.
///
/// @param subject what it is about, such as a path
/// @param text    plain characters only: what clients wrote is quoted before
void Report(std::string_view subject, std::string_view text) noexcept;

} // namespace ppsd

#endif
