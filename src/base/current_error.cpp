#include "base/current_error.h"

#include <exception>
#include <new>
#include <string>

namespace lumivastor {

RecorderError currentError() {
    try {
        throw;
    } catch (const RecorderError& error) {
        // With a text of its own: copies of an error share it, and this one may go to another thread.
        return RecorderError(error.message());
    } catch (const std::bad_alloc&) {
        return RecorderError("Der Arbeitsspeicher reicht nicht.");
    } catch (const std::exception& error) {
        return RecorderError(std::string("Unerwarteter Fehler: ") + error.what());
    } catch (...) {
        return RecorderError("Unerwarteter Fehler.");
    }
}

}  // namespace lumivastor
