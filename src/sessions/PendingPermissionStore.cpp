#include "sessions/PendingPermissionStore.h"
