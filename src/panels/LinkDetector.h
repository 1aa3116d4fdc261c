#pragma once

#include <QStringView>
#include <QUrl>

#include <optional>
#include <vector>

namespace vantry {

/// Finds the links in plain text, from first to last:
///
/// - "http://", "https://" and "file:///" with what follows; "mailto:" with an address.
/// - A domain that begins with "www." and has three parts at least, with or without a path.
/// - A domain with a path behind it: "docs.rs/serde". Its last part has two letters at least, and is nothing else.
/// - A domain of com, org, net, io or dev, also with a port, a query or a fragment: "example.org". So "README.md" and
///   "main.rs" are none, nor is what hangs on a path, a name or a call: "src/foo.io/x", "@foo.io", "socket.io(server)".
/// - An e-mail address, as a "mailto:" link. "git@example.org:repo" is none.
///
/// A bare domain gets "http://". A link ends at white space, control and format characters, quotation marks, "<", ">",
/// "|", "\", "^", "`" and the punctuation of Chinese and Japanese; and at the quote that stands in front of it, too.
/// Punctuation at its end (. , : ; ! ? ' * _ ~ …) does not belong to it, nor do brackets, ( ) [ ] { }, whose partner
/// is not in it. Capitals don't matter. What gives no valid URL is no link.
///
/// Linear in the text's length. Reads the text it was made with, which must stay. Any thread.
class LinkDetector
{
public:
    struct Link
    {
        qsizetype begin;
        qsizetype end;
        QUrl url;
    };

    explicit LinkDetector(QStringView text);

    [[nodiscard]] std::optional<Link> next();
    /// How many characters have been looked at so far: what its cost is measured by.
    [[nodiscard]] qsizetype steps() const { return m_steps; }

private:
    [[nodiscard]] QChar at(qsizetype position) const;
    qsizetype endOfWord(qsizetype begin);
    std::optional<Link> linkAt(qsizetype begin, qsizetype end);
    std::optional<Link> withScheme(qsizetype begin, qsizetype authority, bool isFile);
    std::optional<Link> address(qsizetype begin, qsizetype local, qsizetype atSign);
    std::optional<Link> domain(qsizetype begin, qsizetype end);
    std::optional<Link> link(qsizetype begin, qsizetype end, QStringView prefix);
    qsizetype endOfPort(qsizetype position) const;
    qsizetype endOfUrl(qsizetype begin, qsizetype position);
    void pairBrackets(qsizetype begin);

    QStringView m_text;
    qsizetype m_position = 0;
    /// Of the characters from m_pairsBegin on, up to where a link must end: of a bracket its partner, -1 for none.
    std::vector<qsizetype> m_partners;
    qsizetype m_pairsBegin = 0;
    qsizetype m_steps = 0;
};

} // namespace vantry
