#include "sessions/AgentTool.h"
