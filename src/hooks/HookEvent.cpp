#include "hooks/HookEvent.h"
