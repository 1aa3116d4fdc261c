#include "app/SoundSelections.h"

#include "base/Defaults.h"
#include "platform/FileChooser.h"

#include <QFileInfo>
#include <QPointer>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

const QString none = u"none"_s;
const QString system = u"system:"_s;

QString labelOf(SoundEvent event)
{
    switch (event) {
    case SoundEvent::permissionPrompt:
        return SoundSelections::tr("Permission Prompt");
    case SoundEvent::taskComplete:
        return SoundSelections::tr("Task Complete");
    case SoundEvent::question:
        return SoundSelections::tr("Question");
    }
    Q_UNREACHABLE();
}

QString symbolOf(SoundEvent event)
{
    switch (event) {
    case SoundEvent::permissionPrompt:
        return u"exclamationmark.triangle.fill"_s;
    case SoundEvent::taskComplete:
        return u"checkmark.circle.fill"_s;
    case SoundEvent::question:
        return u"questionmark.circle.fill"_s;
    }
    Q_UNREACHABLE();
}

/// A selection in words.
QString textOf(const QString &selection)
{
    if (selection == none || selection.isEmpty())
        return SoundSelections::tr("None");
    return selection.startsWith(system) ? selection.mid(system.size()) : QFileInfo(selection).fileName();
}

} // namespace

SoundSelections::SoundSelections(const Services &services, QObject *parent)
    : RowListModel({ { LabelRole, "label" },
                     { SymbolRole, "symbol" },
                     { ChoicesRole, "choices" },
                     { CurrentRole, "current" },
                     { ShownRole, "shown" } },
                   parent)
    , m_services(services)
    , m_systemSounds(services.soundService ? services.soundService->systemSoundNames() : QStringList())
{
    connect(&services.defaults, &Defaults::changed, this, &SoundSelections::update);
    update();
}

SoundSelections::~SoundSelections()
{
    if (m_services.fileChooser)
        m_services.fileChooser->cancel();
}

int SoundSelections::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant SoundSelections::data(const QModelIndex &index, int role) const
{
    return checkIndex(index, CheckIndexOption::IndexIsValid) ? m_rows.at(index.row()).value(role) : QVariant();
}

QVariant SoundSelections::Row::value(int role) const
{
    switch (role) {
    case LabelRole:
        return label;
    case SymbolRole:
        return symbol;
    case ChoicesRole:
        return choices;
    case CurrentRole:
        return current;
    case ShownRole:
        return shown;
    default:
        return {};
    }
}

QString SoundSelections::value(SoundEvent event) const
{
    return m_services.defaults.string(selectionKey(event), defaultSelection(event));
}

void SoundSelections::select(int row, int choice)
{
    if (row < 0 || row >= m_rows.size() || choice < 0 || choice >= m_rows.at(row).choices.size())
        return;
    const Row &chosen = m_rows.at(row);
    if (choice == customIndex())
        chooseFile(chosen);
    else
        m_services.defaults.setString(chosen.id, choice == 0 ? none : system + m_systemSounds.at(choice - 1));
}

void SoundSelections::preview(int row) const
{
    if (m_services.soundService && row >= 0 && row < m_rows.size())
        m_services.soundService->playSelection(m_rows.at(row).selection);
}

SoundSelections::Row SoundSelections::makeRow(SoundEvent event) const
{
    const QString selection = value(event);
    QStringList choices = QStringList { tr("None") } + m_systemSounds;
    if (m_services.fileChooser)
        choices.append(tr("Custom…"));
    return { .id = selectionKey(event),
             .label = labelOf(event),
             .symbol = symbolOf(event),
             .selection = selection,
             .choices = choices,
             .current = indexOf(selection),
             .shown = textOf(selection) };
}

/// The choice that is selected; -1 when it isn't offered.
int SoundSelections::indexOf(const QString &selection) const
{
    if (selection == none || selection.isEmpty())
        return 0;
    if (!selection.startsWith(system))
        return m_services.fileChooser ? customIndex() : -1;
    const auto index = m_systemSounds.indexOf(selection.mid(system.size()));
    return index < 0 ? -1 : static_cast<int>(index) + 1;
}

void SoundSelections::update()
{
    QList<Row> rows;
    for (const SoundEvent event : allSoundEvents)
        rows.append(makeRow(event));
    replaceRows(m_rows, rows);
}

void SoundSelections::chooseFile(const Row &row)
{
    const QStringList suffixes { u"aiff"_s, u"aif"_s, u"mp3"_s, u"wav"_s, u"m4a"_s };
    m_services.fileChooser->chooseFile(tr("Choose a sound file for ") + row.label, { tr("Sounds"), suffixes },
                                       [self = QPointer(this), key = row.id](const std::optional<QString> &path) {
                                           if (self && path)
                                               self->m_services.defaults.setString(key, *path);
                                       });
}

} // namespace vantry
