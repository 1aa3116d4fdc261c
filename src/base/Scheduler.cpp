#include "base/Scheduler.h"
