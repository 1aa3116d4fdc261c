#pragma once

#include "base/JsonStrings.h"

#include <algorithm>
#include <string_view>

namespace vantry {

/// Reads JSON text front to back. The first defect ends it: then it hasFailed(), and nothing stands next any more.
/// Stays within the text whatever it holds. Any thread, one at a time.
class JsonReader
{
public:
    enum class Kind { Object, Array, String, Scalar, Nothing };
    /// Whether the insides of strings are checked, too. All else always is: grammar, literals, numbers and nesting.
    enum class Strings { Trusted, Checked };

    /// The text is valid UTF-8.
    explicit JsonReader(std::string_view text, Strings strings = Strings::Trusted)
        : m_text(text)
        , m_strings(strings)
    {}

    /// What stands next; skips blanks.
    [[nodiscard]] Kind next()
    {
        switch (nextCharacter()) {
        case '{':
            return Kind::Object;
        case '[':
            return Kind::Array;
        case '"':
            return Kind::String;
        case '}':
        case ']':
        case ',':
        case ':':
        case '\0':
            return Kind::Nothing;
        default:
            return Kind::Scalar;
        }
    }
    /// What stands next is a string: its text between the quotes, escapes as they stand.
    std::string_view readString()
    {
        skipBlanks();
        const std::size_t begin = std::min(m_position + 1, m_text.size());
        const std::size_t quote =
            m_strings == Strings::Trusted ? closingQuote(m_text, begin) : closingQuoteOfSound(m_text, begin);
        if (quote == m_text.size())
            fail();
        else
            m_position = quote + 1;
        return m_text.substr(begin, quote - begin);
    }
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
        if (!take('}')) {
            do {
                if (next() != Kind::String)
                    return fail();
                const std::string_view key = readString();
                if (!take(':'))
                    return fail();
                onMember(key);
            } while (take(','));
            if (!take('}'))
                return fail();
        }
        --m_depth;
    }
    /// What stands next is an array. `onElement()` has to read each element.
    template <typename Function>
    void readArray(Function &&onElement)
    {
        open();
        if (!take(']')) {
            do {
                if (next() == Kind::Nothing)
                    return fail();
                onElement();
            } while (take(','));
            if (!take(']'))
                return fail();
        }
        --m_depth;
    }

    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }
    /// Whether all has been read, without a defect.
    [[nodiscard]] bool isAtEnd()
    {
        skipBlanks();
        return m_position == m_text.size() && !m_hasFailed;
    }

private:
    void skipBlanks()
    {
        while (m_position < m_text.size() && isBlank(m_text[m_position]))
            ++m_position;
    }
    static bool isBlank(char character)
    {
        return character == ' ' || character == '\t' || character == '\r' || character == '\n';
    }
    /// What stands behind the blanks; 0 at the end, or where a 0 stands, which belongs to nothing.
    char nextCharacter()
    {
        skipBlanks();
        return m_position < m_text.size() ? m_text[m_position] : '\0';
    }
    /// Whether this character stands next; goes on behind it.
    bool take(char punctuation)
    {
        if (nextCharacter() != punctuation)
            return false;
        ++m_position;
        return true;
    }
    /// Goes on behind the bracket that stands next.
    void open();
    void fail()
    {
        m_hasFailed = true;
        m_position = m_text.size();
    }

    std::string_view m_text;
    std::size_t m_position { 0 };
    int m_depth { 0 };
    Strings m_strings;
    bool m_hasFailed { false };
};

/// Whether the text, which is valid UTF-8, is one sound JSON value: the same that jsonDefect says, without memory of
/// its own and without a word on what is wrong. For bulk. Any thread.
[[nodiscard]] bool isSoundJson(std::string_view text);

} // namespace vantry
