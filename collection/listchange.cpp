#include "collection/listchange.h"

namespace Orvane {

CriticalSection& ListChangeLock() {
    static CriticalSection lock;
    return lock;
}

}  // namespace Orvane
