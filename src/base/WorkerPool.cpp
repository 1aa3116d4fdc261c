#include "base/WorkerPool.h"
