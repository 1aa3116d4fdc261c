#include "sessions/VantrySession.h"
