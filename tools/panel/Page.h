#ifndef TLG_TOOLS_PANEL_PAGE_H
#define TLG_TOOLS_PANEL_PAGE_H

#include <string_view>

namespace panel {

/// The text of panel/panel.html, as it was at the build.
extern const std::string_view kPage;

} // namespace panel

#endif
