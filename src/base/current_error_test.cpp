#include "base/current_error.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

namespace lumivastor {
namespace {

template <typename Thrown>
std::string textOf(const Thrown& thrown) {
    try {
        throw thrown;
    } catch (...) {
        return currentError().message();
    }
}

TEST(CurrentError, IsASentenceWhateverIsThrown) {
    EXPECT_EQ(textOf(RecorderError("Das Fenster ist zu.")), "Das Fenster ist zu.");
    EXPECT_EQ(textOf(std::bad_alloc()), "Der Arbeitsspeicher reicht nicht.");
    EXPECT_EQ(textOf(std::runtime_error("no such thing")), "Unerwarteter Fehler: no such thing");
    EXPECT_EQ(textOf(42), "Unerwarteter Fehler.");
}

}  // namespace
}  // namespace lumivastor
