#include "panels/RowListModel.h"

namespace vantry {

RowListModel::RowListModel(QHash<int, QByteArray> roleNames, QObject *parent)
    : QAbstractListModel(parent)
    , m_roleNames(std::move(roleNames))
{}

} // namespace vantry
