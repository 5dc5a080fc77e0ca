// Initialises COM on the current thread while the object lives. Shell functions need it.
#pragma once

#include <windows.h>

#include <objbase.h>

namespace vorda {

class ComApartment {
public:
  ComApartment()
      : status_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE)) {}
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;
  ~ComApartment() {
    if (SUCCEEDED(status_)) CoUninitialize();
  }

private:
  HRESULT status_;
};

} // namespace vorda
