// The process class table behind CoCreateInstance: the part of the COM runtime that is the same on
// both platforms, kept here once for the two implementations of com_class_table.cpp.
//
// Each binary (an executable, a library with its own static copy of the platform code) has one
// table. Registrations are kept in order; the newest registration of a class answers. A library
// may also know its host's table through a lookup function, asked after its own.
#pragma once

#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "platform/com.h"
#include "platform/com_ptr.h"
#include "platform/no_destructor.h"

namespace Platform::Detail {

class ProcessClassTable {
public:
  // The table of this binary. Built at first use and never destroyed, so that objects released by
  // static destructors late in the process's life still find it.
  static ProcessClassTable& Instance() {
    static NoDestructor<ProcessClassTable> table;
    return *table;
  }

  HRESULT Register(REFCLSID clsid, IClassFactory* factory, DWORD* cookie) {
    if (factory == nullptr || cookie == nullptr) return E_POINTER;
    std::lock_guard<std::mutex> lock(m_mutex);
    try {
      m_entries.push_back(Entry{clsid, ComPtr<IClassFactory>(), m_nextCookie});
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    factory->AddRef();
    m_entries.back().factory.Reset(factory);
    *cookie = m_nextCookie++;
    return S_OK;
  }

  HRESULT Revoke(DWORD cookie) {
    ComPtr<IClassFactory> factory;
    {
      std::lock_guard<std::mutex> lock(m_mutex);
      for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        if (entry->cookie == cookie) {
          factory = std::move(entry->factory);
          m_entries.erase(entry);
          break;
        }
      }
    }
    if (!factory) return E_INVALIDARG;
    // Outside the lock: the factory's last release may revoke or create other classes.
    factory.Reset();
    return S_OK;
  }

  // This table's factory for `clsid` with a reference for the caller, or null.
  ComPtr<IClassFactory> Find(REFCLSID clsid) {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto entry = m_entries.rbegin(); entry != m_entries.rend(); ++entry) {
      if (entry->clsid == clsid) {
        entry->factory->AddRef();
        return ComPtr<IClassFactory>(entry->factory.Get());
      }
    }
    return ComPtr<IClassFactory>();
  }

  HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    ComPtr<IClassFactory> factory = Find(clsid);
    if (!factory) return REGDB_E_CLASSNOTREG;
    return factory->QueryInterface(iid, object);
  }

  void SetHostLookup(ClassObjectLookup lookup) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_hostLookup = lookup;
  }

  // Creates through this table, then through the host's. `found` tells whether either knew the
  // class; when it did, the result is the factory's and final.
  HRESULT Create(REFCLSID clsid, IUnknown* outer, REFIID iid, void** object, bool& found) {
    *object = nullptr;
    ComPtr<IClassFactory> factory = Find(clsid);
    if (!factory) {
      ClassObjectLookup lookup;
      {
        std::lock_guard<std::mutex> lock(m_mutex);
        lookup = m_hostLookup;
      }
      if (lookup != nullptr && lookup(clsid, IID_IClassFactory, factory.PutVoid()) < 0) factory.Reset();
    }
    found = static_cast<bool>(factory);
    if (!found) return REGDB_E_CLASSNOTREG;
    HRESULT result = factory->CreateInstance(outer, iid, object);
    factory.Reset();
    if (result < 0) *object = nullptr;
    return result;
  }

private:
  struct Entry {
    CLSID clsid;
    ComPtr<IClassFactory> factory;
    DWORD cookie;
  };

  std::mutex m_mutex;
  std::vector<Entry> m_entries;
  DWORD m_nextCookie = 1;
  ClassObjectLookup m_hostLookup = nullptr;
};

}  // namespace Platform::Detail
