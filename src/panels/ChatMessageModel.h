#pragma once

#include "panels/MarkdownText.h"
#include "panels/RowListModel.h"
#include "transcripts/TranscriptMessage.h"

#include <QtQml/qqmlregistration.h>

#include <vector>

namespace vantry {

/// The conversation of one chat: the last messages of the transcript, and behind them what was sent from here and has
/// not come up in the transcript yet. Changes row by row and is never reset; a message that the transcript has caught
/// up with keeps the row that it had while it was pending. Main thread only.
class ChatMessageModel : public vantry::RowListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the chat")

public:
    enum Kind { UserMessage, AssistantMessage, ToolMessage };
    Q_ENUM(Kind)

    enum Role {
        MessageIDRole = Qt::UserRole + 1,
        KindRole,
        HeadRole,        ///< MarkdownText: the whole text, or its first lines while it is folded.
        TailRole,        ///< MarkdownText: the last lines of a folded text, else empty.
        HiddenLinesRole, ///< How many lines are folded away; 0 while the text isn't folded.
        IsPendingRole,
        ToolNameRole,
        ToolSummaryRole,
        ToolSymbolRole,
        AccessibleTextRole,
    };

    explicit ChatMessageModel(QObject *parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

    /// Takes what stands in the transcript now. A pending message whose exact text is in it goes. True when a row came
    /// or went; as many messages as are shown, the last one the same, count as nothing new.
    bool takeTranscript(const std::vector<TranscriptMessage> &messages);
    /// Adds a message that was sent from here.
    void appendPending(TranscriptMessage message);
    /// Unfolds a text, for good.
    Q_INVOKABLE void expand(int row);

private:
    struct Row
    {
        QString id; ///< The key: the message's identifier, or the one that it had while it was pending.
        TranscriptMessage message;
        bool isPending { false };
        MarkdownText head;
        MarkdownText tail;
        int hiddenLines { 0 };
        QString accessibleText;

        [[nodiscard]] QVariant value(int role) const;
    };

    [[nodiscard]] static Row makeRow(const QString &id, TranscriptMessage message, bool isPending);
    static void describe(Row &row);
    /// The same row for the message as the transcript has it; what was parsed of an equal text is kept.
    [[nodiscard]] static Row updatedRow(const Row &row, const TranscriptMessage &message);
    [[nodiscard]] bool isUpToDate(const std::vector<TranscriptMessage> &messages) const;
    /// The keys of the rows that show these messages. A message that was pending keeps that row's.
    [[nodiscard]] QStringList keysFor(const std::vector<TranscriptMessage> &messages);

    QList<Row> m_rows;
    QHash<QString, QString> m_keptKeys; ///< By message: those of rows that were pending.
};

/// The symbol of a tool's call; an empty name is an absent one. Pure, any thread.
[[nodiscard]] QString toolSymbol(const QString &toolName);

} // namespace vantry
