#include "panels/MenuBarViewModel.h"

namespace vantry {

MenuBarViewModel::MenuBarViewModel(QObject *parent)
    : QObject(parent)
{}

} // namespace vantry
