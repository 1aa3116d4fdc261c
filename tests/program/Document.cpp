#include "Document.h"

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <optional>

namespace vantry::test {

namespace {

QStringList codesIn(const QString &text)
{
    static const QRegularExpression code("`([^`]+)`");
    QStringList codes;
    for (auto matches = code.globalMatch(text); matches.hasNext();)
        codes.append(matches.next().captured(1).simplified());
    return codes;
}

QStringList linksIn(const QString &text)
{
    static const QRegularExpression link(R"re(\]\(([^)#:]+)(#[^)]*)?\)|(?:src|srcset)="([^":]+)")re");
    QStringList links;
    for (auto matches = link.globalMatch(text); matches.hasNext();) {
        const auto match = matches.next();
        links.append(match.captured(1) + match.captured(3));
    }
    return links;
}

} // namespace

Document Document::read(const QString &path)
{
    Document document { path };
    QFile file(QStringLiteral(VANTRY_CHECKOUT "/") + path);
    EXPECT_TRUE(file.open(QFile::ReadOnly)) << path.toStdString();
    QString prose;
    bool inBlock = false;
    std::optional<qsizetype> keyColumn; // Of the table that is being read; negative where it has none.
    for (const QString &line : QString::fromUtf8(file.readAll()).split(u'\n')) {
        if (line.startsWith("```")) {
            inBlock = !inBlock;
            const QString words = line.mid(3).simplified();
            if (inBlock)
                document.blocks.push_back({ words.section(u' ', 0, 0), words.section(u' ', 1), {} });
        } else if (inBlock) {
            document.blocks.back().lines.append(line);
        } else {
            const QStringList cells = line.split(u'|');
            if (!line.startsWith(u'|'))
                keyColumn.reset();
            else if (!keyColumn)
                keyColumn = cells.indexOf(QRegularExpression("^ Key\\b.*"));
            else if (*keyColumn >= 0)
                document.tableKeys += codesIn(cells.value(*keyColumn));
            prose += line + u'\n';
        }
    }
    EXPECT_FALSE(inBlock) << path.toStdString() << ": a fence is open";
    document.codes = codesIn(prose);
    document.links = linksIn(prose);
    return document;
}

std::vector<Document> Document::all()
{
    std::vector<Document> documents { read("README.md") };
    const QDir checkout(VANTRY_CHECKOUT);
    QDirIterator files(checkout.filePath("docs"), { "*.md" }, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        documents.push_back(read(checkout.relativeFilePath(files.next())));
    return documents;
}

} // namespace vantry::test
