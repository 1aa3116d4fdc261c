#include "sessions/AgentPermissionMode.h"
