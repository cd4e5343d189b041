// What a page may have done.
#ifndef TLG_TOOLS_PANEL_ACTIONS_H
#define TLG_TOOLS_PANEL_ACTIONS_H

#include <string>

#include "tools/panel/Feed.h"

namespace panel {

/// What came of a page's request: a status of HTTP, and a text for people.
struct Outcome {
    int status = 200;
    std::string text;
};

/// Writes a line into an object that commands or states are written into.
/// @param json {"object": PATH, "line": TEXT}
Outcome WriteLine(const std::string& json);

/// Gives the simulator an order, but for those that read or write files or wait.
/// @param order its words
Outcome GiveOrder(const std::string& order);

/// The packets with these numbers as a recording.
/// @param json an array of numbers
Outcome RecordingOf(const Feed& feed, const std::string& json);

/// A packet byte by byte.
/// @param number as the feed counts it
Outcome DetailOf(const Feed& feed, const std::string& number);

} // namespace panel

#endif
