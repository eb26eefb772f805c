// Members of class descriptions.
#pragma once

#include <cstdint>

class ITypeDescription;

// One member of a class description: its name, type, offset and owning class. Records are made
// while a class builds its member array and live until the end of the process; all operations are
// pure queries, safe from any thread. The order of the virtual operations is part of the contract.
class ITypeMember {
public:
  virtual ~ITypeMember() = default;
  virtual const char16_t* GetName() const = 0;
  virtual const ITypeDescription* GetType() const = 0;
  // Bytes from the start of the class.
  virtual std::uint32_t GetOffset() const = 0;
  virtual const ITypeDescription* GetOwner() const = 0;
  // Whether `other` (the member found) may be read as this one (the member expected) under the
  // TypeMatchFlags `flags`; each reason of a refusal goes to the log at level 5.
  virtual bool Match(const ITypeMember* other, std::uint32_t flags) const = 0;
};

// Makes a member record on the heap and enters it on the process-wide list, which frees it at the
// end of the process. Borrows `name` (a static string) and the descriptions. Returns null when the
// record could not be made. Used only while a class description builds its member array, under
// that array's one-time initialization; any thread.
const ITypeMember* CreateTypeMember(const char16_t* name, const ITypeDescription* type, std::uint32_t offset,
                                    const ITypeDescription* owner);
