#include <sys/pps.h>

#include <cstring>
#include <string_view>

#include "platform/pps/Line.h"

namespace {

int IndexIn(const char* const* names, const char* name) {
    if (names == nullptr || name == nullptr) {
        return -1;
    }
    for (int i = 0; names[i] != nullptr; ++i) {
        if (std::strcmp(names[i], name) == 0) {
            return i;
        }
    }
    return -1;
}

/// The zero-terminated text that a view into the writable text stands for: what follows it, a
/// delimiter or the end of the line, becomes the zero.
char* Terminated(char* text, std::string_view view) {
    char* start = text + (view.data() - text);
    start[view.size()] = '\0';
    return start;
}

pps_status_t StatusOf(pps::LineKind kind) {
    switch (kind) {
    case pps::LineKind::Object:
        return PPS_OBJECT;
    case pps::LineKind::Created:
        return PPS_OBJECT_CREATED;
    case pps::LineKind::Deleted:
        return PPS_OBJECT_DELETED;
    case pps::LineKind::Truncated:
        return PPS_OBJECT_TRUNCATED;
    case pps::LineKind::Overflowed:
        return PPS_OBJECT_OVERFLOWED;
    case pps::LineKind::Attribute:
        return PPS_ATTRIBUTE;
    case pps::LineKind::AttributeDeleted:
        return PPS_ATTRIBUTE_DELETED;
    }
    return PPS_ERROR;
}

void SetAttribute(const pps::Line& line, char* text, const char* const* attrnames, pps_attrib_t& info) {
    info.attr_name = Terminated(text, line.name);
    info.attr_index = IndexIn(attrnames, info.attr_name);
    if (line.kind == pps::LineKind::Attribute) {
        info.encoding = Terminated(text, line.encoding);
        info.value = Terminated(text, line.value);
    }
}

} // namespace

pps_status_t ppsparse(char** ppsdata, const char* const* objnames, const char* const* attrnames, pps_attrib_t* info,
                      int /*parse_flags*/) {
    char* text = *ppsdata;
    if (*text == '\0') {
        return PPS_END;
    }
    const std::size_t length = std::strcspn(text, "\n");
    *ppsdata = text + length + (text[length] == '\n' ? 1 : 0);
    text[length] = '\0';

    ++info->line;
    info->attr_name = nullptr;
    info->attr_index = -1;
    info->encoding = nullptr;
    info->value = nullptr;
    info->options = 0;
    info->option_mask = 0;
    const auto line = pps::ParseLine({text, length});
    if (!line) {
        return PPS_ERROR;
    }
    if (line->persistence != pps::Persistence::Unspecified) {
        info->option_mask = PPS_NOPERSIST;
        info->options = line->persistence == pps::Persistence::NotKept ? PPS_NOPERSIST : 0;
    }
    if (line->kind == pps::LineKind::Attribute || line->kind == pps::LineKind::AttributeDeleted) {
        SetAttribute(*line, text, attrnames, *info);
    } else {
        info->obj_name = Terminated(text, line->name);
        info->obj_index = IndexIn(objnames, info->obj_name);
    }
    return StatusOf(line->kind);
}
