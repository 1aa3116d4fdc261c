#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace vantry::test {

/// A Markdown file of the checkout, taken apart as far as its tests need it.
struct Document
{
    /// A fenced block.
    struct Block
    {
        QString language; ///< The first word behind the fence; empty where there is none.
        QString remark;   ///< The words after it.
        QStringList lines;
    };

    QString path; ///< Within the checkout.
    std::vector<Block> blocks {};
    QStringList codes {};     ///< What stands between backquotes in the text, in order.
    QStringList tableKeys {}; ///< The codes in columns of tables whose heading begins with "Key".
    QStringList links {};     ///< The targets that are files.

    [[nodiscard]] static Document read(const QString &path);
    /// README.md, and all of docs/.
    [[nodiscard]] static std::vector<Document> all();
};

} // namespace vantry::test
