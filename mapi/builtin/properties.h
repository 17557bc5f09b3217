// The property methods that all objects share, over the little each object does differently.
#pragma once

#include <vector>

#include "mapi/builtin/store_core.h"
#include "mapi/builtin/values.h"
#include "mapi/property_object.h"

namespace parvane::mapi::builtin {

// What an object with properties must be able to do. Tags are in stored form (see values.h).
class PropertyHolder {
 public:
  // Called first in every property method: fails when the object cannot be used (any more).
  virtual HRESULT Prepare() = 0;
  // All properties, computed ones included, in any order.
  virtual HRESULT ListTags(std::vector<ULONG>& tags) = 0;
  // S_OK, or MAPI_E_NOT_FOUND, or why it cannot be read.
  virtual HRESULT Find(ULONG id, Value& value) = 0;

  virtual bool IsWritable() const = 0;
  // True when callers may not set this property.
  virtual bool IsComputed(ULONG tag) const = 0;
  // Sets or removes one property: its own result.
  virtual HRESULT Set(const SPropValue& value) = 0;
  virtual HRESULT Remove(ULONG id) = 0;
  // Called after a round of Set or Remove: takes it to the file if that is where it goes.
  virtual HRESULT FlushChanges() = 0;
  // Where names of named properties are kept; null when the object has none.
  virtual StoreCore* NameScope() = 0;

  // The code page of an HTML body among the properties.
  unsigned HtmlCodePage();

 protected:
  ~PropertyHolder() = default;
};

HRESULT GetPropsOf(PropertyHolder& holder, const SPropTagArray* tags, ULONG flags, ULONG* count,
                   SPropValue** values);
HRESULT GetPropListOf(PropertyHolder& holder, ULONG flags, SPropTagArray** tags);
HRESULT SetPropsOf(PropertyHolder& holder, ULONG count, const SPropValue* values,
                   SPropProblemArray** problems);
HRESULT DeletePropsOf(PropertyHolder& holder, const SPropTagArray* tags,
                      SPropProblemArray** problems);
HRESULT GetIdsFromNamesOf(PropertyHolder& holder, ULONG count, MAPINAMEID** names, ULONG flags,
                          SPropTagArray** tags);
HRESULT GetNamesFromIdsOf(PropertyHolder& holder, SPropTagArray** tags, const GUID* set,
                          ULONG flags, ULONG* count, MAPINAMEID*** names);

}  // namespace parvane::mapi::builtin
