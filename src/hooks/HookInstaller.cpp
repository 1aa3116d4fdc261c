#include "hooks/HookInstaller.h"
