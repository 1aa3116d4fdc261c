#include "panels/ChatMessageModel.h"

#include "panels/ChatFold.h"

#include <QSet>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace vantry {

namespace {

ChatMessageModel::Kind kindOf(TranscriptMessage::Role role)
{
    switch (role) {
    case TranscriptMessage::Role::user:
        return ChatMessageModel::UserMessage;
    case TranscriptMessage::Role::assistant:
        return ChatMessageModel::AssistantMessage;
    case TranscriptMessage::Role::toolUse:
        return ChatMessageModel::ToolMessage;
    }
    return ChatMessageModel::AssistantMessage;
}

} // namespace

ChatMessageModel::ChatMessageModel(QObject *parent)
    : RowListModel({ { MessageIDRole, "messageID" },
                     { KindRole, "kind" },
                     { HeadRole, "head" },
                     { TailRole, "tail" },
                     { HiddenLinesRole, "hiddenLines" },
                     { IsPendingRole, "isPending" },
                     { ToolNameRole, "toolName" },
                     { ToolSummaryRole, "toolSummary" },
                     { ToolSymbolRole, "toolSymbol" },
                     { AccessibleTextRole, "accessibleText" } },
                   parent)
{}

int ChatMessageModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant ChatMessageModel::data(const QModelIndex &index, int role) const
{
    return index.isValid() ? m_rows.at(index.row()).value(role) : QVariant();
}

bool ChatMessageModel::takeTranscript(const std::vector<TranscriptMessage> &messages)
{
    if (isUpToDate(messages))
        return false;

    QHash<QString, const Row *> shown;
    for (const Row &row : std::as_const(m_rows))
        shown.insert(row.id, &row);
    const QStringList keys = keysFor(messages);
    QList<Row> rows;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        const QString &key = keys.at(static_cast<qsizetype>(i));
        const Row *row = shown.value(key);
        rows.append(row ? updatedRow(*row, messages[i]) : makeRow(key, messages[i], false));
    }
    for (const Row &row : std::as_const(m_rows)) {
        if (row.isPending && std::ranges::find(messages, row.message.text, &TranscriptMessage::text) == messages.end())
            rows.append(row);
    }
    const bool areSame = std::ranges::equal(m_rows, rows, {}, &Row::id, &Row::id);
    replaceRows(m_rows, rows);
    return !areSame;
}

void ChatMessageModel::appendPending(TranscriptMessage message)
{
    const QString id = message.id;
    QList<Row> rows = m_rows;
    rows.append(makeRow(id, std::move(message), true));
    replaceRows(m_rows, rows);
}

void ChatMessageModel::expand(int row)
{
    if (row < 0 || row >= rowCount() || m_rows.at(row).hiddenLines == 0)
        return;
    QList<Row> rows = m_rows;
    Row &expanded = rows[row];
    expanded.head = MarkdownText(expanded.message.text, expanded.head.isUser());
    expanded.tail = {};
    expanded.hiddenLines = 0;
    describe(expanded);
    replaceRows(m_rows, rows);
}

QVariant ChatMessageModel::Row::value(int role) const
{
    switch (role) {
    case MessageIDRole:
        return message.id;
    case KindRole:
        return kindOf(message.role);
    case HeadRole:
        return QVariant::fromValue(head);
    case TailRole:
        return QVariant::fromValue(tail);
    case HiddenLinesRole:
        return hiddenLines;
    case IsPendingRole:
        return isPending;
    case ToolNameRole:
        return message.toolName.value_or(QString());
    case ToolSummaryRole:
        return message.toolSummary.value_or(QString());
    case ToolSymbolRole:
        return message.role == TranscriptMessage::Role::toolUse ? toolSymbol(message.toolName.value_or(QString()))
                                                                : QString();
    case AccessibleTextRole:
        return accessibleText;
    default:
        return {};
    }
}

ChatMessageModel::Row ChatMessageModel::makeRow(const QString &id, TranscriptMessage message, bool isPending)
{
    const bool isUser = message.role == TranscriptMessage::Role::user;
    const FoldedText folded = foldLongText(message.text);
    Row row;
    row.id = id;
    row.message = std::move(message);
    row.isPending = isPending;
    row.head = MarkdownText(folded.head, isUser);
    if (folded.hiddenLines > 0)
        row.tail = MarkdownText(folded.tail, isUser);
    row.hiddenLines = folded.hiddenLines;
    describe(row);
    return row;
}

void ChatMessageModel::describe(Row &row)
{
    QString text = row.head.plainText();
    if (row.hiddenLines > 0)
        text += u'\n' + tr("Show %1 more lines").arg(row.hiddenLines) + u'\n' + row.tail.plainText();
    switch (kindOf(row.message.role)) {
    case UserMessage:
        row.accessibleText = row.isPending ? tr("You, not taken in yet: %1").arg(text) : tr("You: %1").arg(text);
        break;
    case AssistantMessage:
        row.accessibleText = tr("Agent: %1").arg(text);
        break;
    case ToolMessage:
        row.accessibleText =
            QString(row.message.toolName.value_or(QString()) + u' ' + row.message.toolSummary.value_or(QString()))
                .trimmed();
        break;
    }
}

ChatMessageModel::Row ChatMessageModel::updatedRow(const Row &row, const TranscriptMessage &message)
{
    if (row.message.text != message.text || row.message.role != message.role)
        return makeRow(row.id, message, false);
    Row updated = row;
    updated.message = message;
    updated.isPending = false;
    describe(updated);
    return updated;
}

bool ChatMessageModel::isUpToDate(const std::vector<TranscriptMessage> &messages) const
{
    return std::cmp_equal(messages.size(), m_rows.size()) &&
           (messages.empty() || messages.back().id == m_rows.last().message.id);
}

QStringList ChatMessageModel::keysFor(const std::vector<TranscriptMessage> &messages)
{
    QSet<QString> shown;
    QHash<QString, QStringList> pendingKeys; // By text.
    for (const Row &row : std::as_const(m_rows)) {
        if (row.isPending)
            pendingKeys[row.message.text].append(row.id);
        else
            shown.insert(row.message.id);
    }
    const QHash<QString, QString> keptBefore = std::exchange(m_keptKeys, {});
    QSet<QString> used;
    QStringList keys;
    for (const TranscriptMessage &message : messages) {
        QString key = keptBefore.value(message.id, message.id);
        if (message.role == TranscriptMessage::Role::user && !shown.contains(message.id) &&
            !pendingKeys.value(message.text).isEmpty())
            key = pendingKeys[message.text].takeFirst();
        if (key != message.id)
            m_keptKeys.insert(message.id, key);
        // A transcript from outside may hold an identifier twice.
        while (used.contains(key))
            key += u'\'';
        used.insert(key);
        keys.append(key);
    }
    return keys;
}

QString toolSymbol(const QString &toolName)
{
    static constexpr std::array<std::pair<QStringView, QStringView>, 9> symbols { {
        { u"Read", u"doc.text" },
        { u"Write", u"doc.badge.plus" },
        { u"Edit", u"pencil" },
        { u"Bash", u"terminal" },
        { u"Glob", u"magnifyingglass" },
        { u"Grep", u"text.magnifyingglass" },
        { u"Task", u"arrow.triangle.branch" },
        { u"WebSearch", u"globe" },
        { u"WebFetch", u"globe" },
    } };
    if (toolName.startsWith(u'/'))
        return u"command"_s;
    const auto *const found =
        std::ranges::find(symbols, QStringView(toolName), &std::pair<QStringView, QStringView>::first);
    return found == symbols.end() ? u"wrench"_s : found->second.toString();
}

} // namespace vantry
