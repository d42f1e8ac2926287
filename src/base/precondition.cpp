#include "base/precondition.h"

#include <cstdio>
#include <cstdlib>

namespace lumivastor {

void preconditionFailed(const char* what, std::source_location where) {
    std::fprintf(stderr, "precondition failed: %s (%s:%u)\n", what, where.file_name(),
                 static_cast<unsigned>(where.line()));
    std::abort();
}

}  // namespace lumivastor
