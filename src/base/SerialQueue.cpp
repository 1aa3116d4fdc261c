#include "base/SerialQueue.h"
