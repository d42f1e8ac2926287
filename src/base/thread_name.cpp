#include "base/thread_name.h"

#include <pthread.h>

namespace lumivastor {

void nameThisThread(const std::string& name) {
    constexpr std::string::size_type kKept = 15;
    pthread_setname_np(pthread_self(), name.substr(0, kKept).c_str());
}

}  // namespace lumivastor
