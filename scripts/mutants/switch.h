// Included before everything else when the sources are compiled with all their mutants. The
// environment says which one is switched on, by its number.
#pragma once

#include <cstddef>
#include <type_traits>

extern int vordaActive;
extern unsigned char* vordaReached; // one byte per mutant while it is recorded who reaches what

inline bool vordaAsk(int number) {
  // From any thread, which the thread sanitizer must not take for a race.
  if (vordaReached != nullptr) __atomic_store_n(&vordaReached[number], 1, __ATOMIC_RELAXED);
  return number == vordaActive;
}

// What the compiler works out is never changed.
constexpr bool vordaMutant(int number) {
  return std::is_constant_evaluated() ? false : vordaAsk(number);
}

// An empty value of the type of an expression.
template <class T> decltype(auto) vordaNothing() {
  using Value = std::remove_cvref_t<T>;
  if constexpr (std::is_lvalue_reference_v<T>) {
    static thread_local Value none;
    none = Value();
    return static_cast<T>(none);
  } else {
    return Value();
  }
}

// A lock of the same type that nobody else waits for.
template <class Lock> Lock& vordaOtherLock(Lock&) {
  static thread_local std::remove_const_t<Lock> other;
  return other;
}

template <class Table> bool vordaDropRow(int number, std::size_t row, Table& table) {
  if (vordaMutant(number)) table[row] = table[row == 0 ? 1 : row - 1];
  return true;
}
