#pragma once

// Writing JSON.

#include <concepts>
#include <string>
#include <string_view>
#include <vector>

namespace tav3d::tools
{

/// Builds one JSON text, indented by two blanks. Calls must nest properly: key() before every value within an object.
class JsonWriter
{
public:
    JsonWriter& beginObject() { return begin('{', '}'); }
    JsonWriter& endObject() { return end(); }
    JsonWriter& beginArray() { return begin('[', ']'); }
    JsonWriter& endArray() { return end(); }
    JsonWriter& key(std::string_view name);

    JsonWriter& value(std::string_view text);
    JsonWriter& value(const char* text) { return value(std::string_view(text)); }
    JsonWriter& value(bool flag) { return raw(flag ? "true" : "false"); }
    /// Shortest text that reads back as the same number; null when it is not finite.
    JsonWriter& value(double number);
    JsonWriter& value(std::integral auto number) { return raw(std::to_string(number)); }

    /// key() and value() in one.
    JsonWriter& member(std::string_view name, const auto& v) { return key(name).value(v); }

    /// The text, with a line end.
    [[nodiscard]] std::string text() const { return text_ + '\n'; }

private:
    struct Level
    {
        char close;
        bool empty;
    };
    JsonWriter& begin(char open, char close);
    JsonWriter& end();
    JsonWriter& raw(std::string_view token);
    void separate();
    void quote(std::string_view text);

    std::string text_;
    std::vector<Level> levels_;
    bool afterKey_ = false;
};

} // namespace tav3d::tools
