#pragma once

#include "alerts/SoundService.h"
#include "panels/RowListModel.h"

#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace vantry {

class Defaults;
class FileChooser;

/// The sounds of the events as rows with a choice each. A choice is stored at once; what is stored from elsewhere is
/// taken over. Main thread only.
class SoundSelections final : public vantry::RowListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")

public:
    enum Role { LabelRole = Qt::UserRole, SymbolRole, ChoicesRole, CurrentRole, ShownRole };

    /// All of these must outlive this.
    struct Services
    {
        Defaults &defaults;
        const SoundService *soundService; ///< Null: there are no sounds to choose from.
        FileChooser *fileChooser;         ///< Null: files aren't offered.
    };

    explicit SoundSelections(const Services &services, QObject *parent = nullptr);
    ~SoundSelections() override;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

    /// What is stored for the event, or its default.
    [[nodiscard]] QString value(SoundEvent event) const;
    /// The names of the sounds that are offered.
    [[nodiscard]] const QStringList &systemSounds() const { return m_systemSounds; }

    /// Takes a row's choice. That of a file asks the user for one first.
    Q_INVOKABLE void select(int row, int choice);
    /// Plays what is chosen, also when sounds are turned off.
    Q_INVOKABLE void preview(int row) const;

private:
    struct Row
    {
        QString id; ///< The event's key.
        QString label;
        QString symbol;
        QString selection;
        QStringList choices;
        int current { -1 };
        QString shown;

        [[nodiscard]] QVariant value(int role) const;
    };

    [[nodiscard]] Row makeRow(SoundEvent event) const;
    [[nodiscard]] int indexOf(const QString &selection) const;
    [[nodiscard]] int customIndex() const { return static_cast<int>(m_systemSounds.size()) + 1; }
    void update();
    void chooseFile(const Row &row);

    const Services m_services;
    const QStringList m_systemSounds;
    QList<Row> m_rows;
};

} // namespace vantry
