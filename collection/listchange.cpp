#include "collection/listchange.h"

using namespace Foundation;

namespace Orvane {

CriticalSection& ListChangeLock() {
    static CriticalSection lock;
    return lock;
}

}  // namespace Orvane
