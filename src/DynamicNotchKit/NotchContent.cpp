#include "DynamicNotchKit/NotchContent.h"

#include <QQmlEngine>
#include <QQmlInfo>

namespace vantry {

class NotchContent::Incubator final : public QQmlIncubator
{
public:
    Incubator(NotchContent &content, IncubationMode mode)
        : QQmlIncubator(mode)
        , m_content(content)
    {}

protected:
    void setInitialState(QObject *object) override { m_content.adopt(object); }
    void statusChanged(Status status) override
    {
        if (status == Ready)
            Q_EMIT m_content.contentSizeChanged();
        else if (status == Error)
            qmlWarning(&m_content, errors());
    }

private:
    NotchContent &m_content;
};

NotchContent::NotchContent(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemIsFocusScope);
}

NotchContent::~NotchContent() = default;

void NotchContent::finish()
{
    if (m_incubator && m_incubator->isLoading())
        m_incubator->forceCompletion();
}

void NotchContent::setNeeded(bool isNeeded)
{
    if (isNeeded == m_isNeeded)
        return;
    m_isNeeded = isNeeded;
    Q_EMIT neededChanged();
    if (!m_isNeeded || !isComponentComplete())
        return;
    if (m_incubator)
        finish();
    else if (m_component)
        load();
}

QSizeF NotchContent::contentSize() const
{
    return m_item ? QSizeF(m_item->implicitWidth(), m_item->implicitHeight()) : QSizeF();
}

void NotchContent::componentComplete()
{
    QQuickItem::componentComplete();
    if (!m_source.isEmpty())
        load();
}

void NotchContent::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (m_item)
        m_item->setSize(size());
}

void NotchContent::load()
{
    m_component = std::make_unique<QQmlComponent>(
        qmlEngine(this), m_source, m_isNeeded ? QQmlComponent::PreferSynchronous : QQmlComponent::Asynchronous);
    if (m_component->isLoading())
        connect(m_component.get(), &QQmlComponent::statusChanged, this, &NotchContent::create);
    else
        create();
}

void NotchContent::create()
{
    if (m_component->isError()) {
        qmlWarning(this, m_component->errors());
        return;
    }
    m_incubator =
        std::make_unique<Incubator>(*this, m_isNeeded ? QQmlIncubator::Synchronous : QQmlIncubator::Asynchronous);
    m_incubator->setInitialProperties(m_properties);
    // In the engine's own context, which is still there when this goes.
    m_component->create(*m_incubator);
}

/// Before the view's own items are complete, so that they find the window.
void NotchContent::adopt(QObject *object)
{
    object->setParent(this);
    m_item = qobject_cast<QQuickItem *>(object);
    if (!m_item) {
        qmlWarning(this) << m_source.toString() << " is no item";
        return;
    }
    m_item->setParentItem(this);
    m_item->setSize(size());
    connect(m_item, &QQuickItem::implicitWidthChanged, this, &NotchContent::contentSizeChanged);
    connect(m_item, &QQuickItem::implicitHeightChanged, this, &NotchContent::contentSizeChanged);
}

} // namespace vantry
