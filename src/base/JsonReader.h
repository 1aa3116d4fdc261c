#pragma once

#include <string_view>

namespace vantry {

/// Reads JSON text that has been checked in full (see jsonDefect), front to back, without checking it again. Stays
/// within the text whatever it holds; what it gives for unsound text has no meaning. Any thread, one at a time.
class JsonReader
{
public:
    enum class Kind { Object, Array, String, Scalar, Nothing };

    explicit JsonReader(std::string_view checkedText)
        : m_text(checkedText)
    {}

    /// What stands next; skips blanks.
    [[nodiscard]] Kind next();
    /// What stands next is a string: its text between the quotes, escapes as they stand.
    std::string_view readString();
    /// What stands next is a number, true, false or null.
    std::string_view readScalar();
    /// Whatever stands next, as source text.
    std::string_view readValue();
    /// What has not been read yet.
    [[nodiscard]] std::string_view rest() const { return m_text.substr(m_position); }

    /// What stands next is an object. `onMember(std::string_view key)` gets each key, escapes as they stand, and has to
    /// read the value.
    template <typename Function>
    void readObject(Function &&onMember)
    {
        open();
        while (!closes('}') && next() == Kind::String) {
            const std::string_view key = readString();
            skip(':');
            onMember(key);
            skip(',');
        }
    }
    /// What stands next is an array. `onElement()` has to read each element.
    template <typename Function>
    void readArray(Function &&onElement)
    {
        open();
        while (!closes(']') && next() != Kind::Nothing) {
            const std::size_t before = m_position;
            onElement();
            skip(',');
            if (m_position == before)
                return;
        }
    }

private:
    void skipBlanks();
    /// An object or array stands next.
    void skipCompound();
    void open();
    void skip(char punctuation);
    /// Whether this bracket stands next; takes it.
    bool closes(char bracket);

    std::string_view m_text;
    std::size_t m_position { 0 };
};

} // namespace vantry
