#ifndef TLG_PLATFORM_PPS_JSONTEXT_H
#define TLG_PLATFORM_PPS_JSONTEXT_H

#include <string_view>
#include <vector>

namespace pps {

/// A number of a JSON text.
struct JsonNumber {
    double value;   ///< the double nearest to the text; infinite where the text is beyond all doubles
    bool isInteger; ///< written without fraction and exponent, and within 32 bits
};

/// The value of a number in JSON's notation, such as "-12.5e3".
JsonNumber ToNumber(std::string_view text);

/// Checks what the parser does not check, and converts the numbers of a JSON text. Each is appended to @p numbers, and
/// in the text a 0 and blanks replace it. Other mistakes in the text are left for the parser to find.
///
/// @param text zero-terminated; nothing after the zero is read
/// @return whether strings and keys are UTF-8 with no lone surrogate escaped in them, and all numbers are in
///         JSON's notation; otherwise part of the text may be replaced
bool ConvertNumbers(char* text, std::vector<JsonNumber>& numbers);

} // namespace pps

#endif
