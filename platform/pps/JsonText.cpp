#include "platform/pps/JsonText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

namespace pps {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Whether a number outside the range of doubles is too large, and not too small: whether its first digit other than
/// 0 stands before the point once the exponent is applied.
bool IsLarge(std::string_view text) {
    const std::size_t mantissaEnd = std::min(text.find_first_of("eE"), text.size());
    const std::string_view mantissa = text.substr(0, mantissaEnd);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const auto firstDigit = mantissa.find_first_of("123456789");
    const auto place = static_cast<long long>(point) - static_cast<long long>(firstDigit);

    std::string_view exponentText = text.substr(std::min(mantissaEnd + 1, text.size()));
    exponentText.remove_prefix(!exponentText.empty() && exponentText.front() == '+' ? 1 : 0);
    long long exponent = 0;
    const auto parsed = std::from_chars(exponentText.begin(), exponentText.end(), exponent);
    if (parsed.ec == std::errc::result_out_of_range) {
        return exponentText.front() != '-';
    }
    return exponent > -place;
}

/// Goes through a JSON text from one string or number to the next.
class Scanner {
public:
    Scanner(char* text, std::vector<JsonNumber>& numbers) : m_at(text), m_numbers(numbers) {}

    bool Run() {
        while (*m_at != '\0') {
            if (*m_at == '"') {
                if (!PassString()) {
                    return false;
                }
            } else if (*m_at == '-' || IsDigit(*m_at)) {
                if (!ConvertNumber()) {
                    return false;
                }
            } else {
                ++m_at;
            }
        }
        return true;
    }

private:
    bool Pass(char c) {
        const bool isThere = *m_at == c;
        m_at += isThere ? 1 : 0;
        return isThere;
    }

    /// One digit or more.
    bool PassDigits() {
        const char* const begin = m_at;
        while (IsDigit(*m_at)) {
            ++m_at;
        }
        return m_at != begin;
    }

    bool ConvertNumber() {
        char* const begin = m_at;
        Pass('-');
        if (!Pass('0') && !PassDigits()) {
            return false;
        }
        if (Pass('.') && !PassDigits()) {
            return false;
        }
        if (Pass('e') || Pass('E')) {
            if (!Pass('+')) {
                Pass('-');
            }
            if (!PassDigits()) {
                return false;
            }
        }
        m_numbers.push_back(ToNumber({begin, static_cast<std::size_t>(m_at - begin)}));
        *begin = '0';
        std::fill(begin + 1, m_at, ' ');
        return true;
    }

    bool PassString() {
        ++m_at;
        while (!Pass('"')) {
            if (*m_at == '\\' ? !PassEscape() : !PassCharacter()) {
                return false;
            }
        }
        return true;
    }

    /// The parser checks which letters may follow a backslash.
    bool PassEscape() {
        constexpr unsigned kFirstHigh = 0xD800;
        constexpr unsigned kFirstLow = 0xDC00;
        constexpr unsigned kLastLow = 0xDFFF;
        ++m_at;
        if (!Pass('u')) {
            return PassCharacter();
        }
        unsigned unit = 0;
        if (!PassCodeUnit(unit) || (unit >= kFirstLow && unit <= kLastLow)) {
            return false;
        }
        if (unit < kFirstHigh || unit > kLastLow) {
            return true;
        }
        return Pass('\\') && Pass('u') && PassCodeUnit(unit) && unit >= kFirstLow && unit <= kLastLow;
    }

    /// Four hexadecimal digits.
    bool PassCodeUnit(unsigned& unit) {
        constexpr int kDigits = 4;
        const char* const end = m_at + ::strnlen(m_at, kDigits);
        const auto parsed = std::from_chars(m_at, end, unit, 16);
        const bool isWhole = parsed.ptr - m_at == kDigits;
        m_at += isWhole ? kDigits : 0;
        return isWhole;
    }

    /// One character in UTF-8: no overlong form, no surrogate, nothing above U+10FFFF; not the text's end.
    bool PassCharacter() {
        const bool isAscii = static_cast<signed char>(*m_at) > 0;
        if (isAscii) {
            ++m_at;
            return true;
        }
        struct Form {
            unsigned char first, last;             // range of the leading byte
            unsigned char secondFirst, secondLast; // range of the byte after it
            int following;                         // bytes after the leading byte
        };
        static constexpr Form kForms[] = {{0xC2, 0xDF, 0x80, 0xBF, 1}, {0xE0, 0xE0, 0xA0, 0xBF, 2},
                                          {0xE1, 0xEC, 0x80, 0xBF, 2}, {0xED, 0xED, 0x80, 0x9F, 2},
                                          {0xEE, 0xEF, 0x80, 0xBF, 2}, {0xF0, 0xF0, 0x90, 0xBF, 3},
                                          {0xF1, 0xF3, 0x80, 0xBF, 3}, {0xF4, 0xF4, 0x80, 0x8F, 3}};
        const auto byte = [this] { return static_cast<unsigned char>(*m_at); };
        const auto* form = std::find_if(std::begin(kForms), std::end(kForms), [&byte](const Form& each) {
            return byte() >= each.first && byte() <= each.last;
        });
        if (form == std::end(kForms)) {
            return false;
        }
        ++m_at;
        for (int i = 0; i < form->following; ++i, ++m_at) {
            const bool isSecond = i == 0;
            if (byte() < (isSecond ? form->secondFirst : 0x80) || byte() > (isSecond ? form->secondLast : 0xBF)) {
                return false;
            }
        }
        return true;
    }

    char* m_at;
    std::vector<JsonNumber>& m_numbers;
};

} // namespace

JsonNumber ToNumber(std::string_view text) {
    int integer = 0;
    const auto whole = std::from_chars(text.begin(), text.end(), integer);
    if (whole.ec == std::errc() && whole.ptr == text.end()) {
        return {static_cast<double>(integer), true};
    }
    double value = 0;
    if (std::from_chars(text.begin(), text.end(), value).ec == std::errc::result_out_of_range) {
        value = std::copysign(IsLarge(text) ? std::numeric_limits<double>::infinity() : 0.0,
                              text.front() == '-' ? -1.0 : 1.0);
    }
    return {value, false};
}

bool ConvertNumbers(char* text, std::vector<JsonNumber>& numbers) {
    return Scanner(text, numbers).Run();
}

} // namespace pps
