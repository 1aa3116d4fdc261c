#include "base/MainQueue.h"
