#include "base/out_of_memory.h"

#include <stdexcept>
#include <system_error>

namespace vorda {

bool isOutOfMemory() {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return true;
  } catch (const std::length_error&) {
    return true; // more than any container holds
  } catch (const std::system_error& error) {
    return error.code() == std::errc::resource_unavailable_try_again ||
           error.code() == std::errc::not_enough_memory;
  } catch (...) {
    return false;
  }
}

} // namespace vorda
