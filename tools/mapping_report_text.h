#pragma once

// Text for the report's page: escaping, numbers for readers, bytes as base64.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tav3d::tools
{

/// Text for HTML content and quoted attributes: & < > " ' become character references; control characters other than tab and line feed, and what
/// is not valid UTF-8, become U+FFFD.
[[nodiscard]] std::string escapeHtml(std::string_view text);

/// JSON text for the inside of a <script> element: < > & and the line separators U+2028 and U+2029 become \u escapes, which JSON allows
/// wherever these characters can stand, so nothing in it ends the element or opens a comment.
[[nodiscard]] std::string escapeJsonForScript(std::string_view json);

/// Digits in groups of three, separated by narrow no-break spaces.
[[nodiscard]] std::string countText(std::int64_t count);

/// About five significant digits, plain between 1e-4 and 1e6, with a power of ten beyond (HTML: "1.25×10<sup>6</sup>"); a dash for NaN and infinities.
[[nodiscard]] std::string numberHtml(double value);

/// Two decimals, no exponent: seconds, lengths in drawings.
[[nodiscard]] std::string fixedText(double value);

/// Standard alphabet, with padding.
[[nodiscard]] std::string base64(std::span<const std::uint8_t> bytes);

} // namespace tav3d::tools
