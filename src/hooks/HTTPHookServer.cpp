#include "hooks/HTTPHookServer.h"
