#pragma once

#include <QQmlComponent>
#include <QQmlIncubator>
#include <QQuickItem>
#include <QUrl>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace vantry {

/// Shows a view from a file, as large as the item; a focus scope. As long as it isn't needed it is made in steps
/// between frames, that nobody feels; when it is needed, what is missing is made at once. Main thread only.
class NotchContent : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    /// Empty: nothing is shown. Set once, as are the properties.
    Q_PROPERTY(QUrl source MEMBER m_source)
    /// What the view's properties are at first.
    Q_PROPERTY(QVariantMap properties MEMBER m_properties)
    Q_PROPERTY(bool isNeeded READ isNeeded WRITE setNeeded NOTIFY neededChanged)
    /// The view's implicit size; empty while there is none.
    Q_PROPERTY(QSizeF contentSize READ contentSize NOTIFY contentSizeChanged)

public:
    explicit NotchContent(QQuickItem *parent = nullptr);
    ~NotchContent() override;

    [[nodiscard]] bool isNeeded() const { return m_isNeeded; }
    void setNeeded(bool isNeeded);
    [[nodiscard]] QSizeF contentSize() const;
    /// Makes what is missing of a view that is being made. Before the window goes: the engine must see every view that
    /// it has begun come to its end.
    void finish();

Q_SIGNALS:
    void neededChanged();
    void contentSizeChanged();

protected:
    void componentComplete() override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

private:
    class Incubator;

    void load();
    void create();
    void adopt(QObject *object);

    QUrl m_source;
    QVariantMap m_properties;
    bool m_isNeeded { false };
    std::unique_ptr<QQmlComponent> m_component;
    std::unique_ptr<Incubator> m_incubator;
    QQuickItem *m_item { nullptr };
};

} // namespace vantry
