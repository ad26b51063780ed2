#pragma once

#include "c4d_file.h"

namespace cinema {

enum LLONGVALUETYPE { LLONGVALUE = 0 };

// One value of one of the DA_ types. Bools are kept as DA_LONG. Reading another kind than the one that is kept gives
// what the getter names, after the conversions between Bool, Int32 and Float.
class QM_HOST_API GeData {
 public:
  GeData();
  GeData(Int32 value);
  GeData(double value);
  GeData(Int64 value, LLONGVALUETYPE kind);
  GeData(const Char* utf8);
  GeData(const maxon::String& text);
  GeData(const Filename& name);
  GeData(const BaseContainer& container);
  GeData(BaseList2D* target);    // a link, which ends with its target
  GeData(const BaseLink* link);  // a link to the same target; null leads nowhere
  GeData(const GeData& other);
  GeData(GeData&& other) noexcept;
  ~GeData();
  const GeData& operator=(const GeData& other);
  const GeData& operator=(GeData&& other) noexcept;

  Int32 GetType() const;
  Bool GetBool() const;                       // else false
  Int32 GetInt32() const;                     // else 0; a Float is cut toward zero and kept in range
  Float GetFloat() const;                     // else 0
  const String& GetString() const;            // else an empty text
  const Filename& GetFilename() const;        // else an empty name
  const BaseContainer* GetContainer() const;  // else null
  const BaseLink* GetBaseLink() const;        // else null
  // Null when this is no link, the target is gone, belongs to another document, or isn't an `instanceof` (0: any).
  BaseList2D* GetLink(BaseDocument* doc, Int32 instanceof = 0) const;
  const BaseList2D* GetLink(const BaseDocument* doc, Int32 instanceof = 0) const;
  BaseList2D* GetLink(decltype(nullptr), Int32 instanceof = 0) const;  // of whichever document

  Bool operator==(const GeData& other) const;
  Bool operator!=(const GeData& other) const;

 private:
  struct Parts;  // null for DA_NIL
  Parts* parts_ = nullptr;
  template <class T>
  friend struct HostSide;
};

}  // namespace cinema
