// Member records of class descriptions, and their match.
#include "foundation/type_member.h"

#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <vector>

#include "foundation/log.h"
#include "foundation/type_description.h"

namespace {

// One member of a class; immutable.
class CTypeMember : public ITypeMember {
public:
  CTypeMember(const char16_t* name, const ITypeDescription* type, std::uint32_t offset, const ITypeDescription* owner)
      : m_name(name), m_type(type), m_offset(offset), m_owner(owner) {}

  const char16_t* GetName() const override { return m_name; }
  const ITypeDescription* GetType() const override { return m_type; }
  std::uint32_t GetOffset() const override { return m_offset; }
  const ITypeDescription* GetOwner() const override { return m_owner; }
  bool Match(const ITypeMember* other, std::uint32_t flags) const override;

private:
  const char16_t* const m_name;
  const ITypeDescription* const m_type;
  const std::uint32_t m_offset;
  const ITypeDescription* const m_owner;
};

// The process-wide list that owns every member record. Several classes may build their member
// arrays at once on different threads, each under its own one-time guard, hence the mutex.
struct MemberList {
  std::mutex mutex;
  std::vector<std::unique_ptr<CTypeMember>> members;
};

MemberList& GetMemberList() {
  static MemberList list;
  return list;
}

bool CTypeMember::Match(const ITypeMember* other, std::uint32_t flags) const {
  const char16_t* ownerName = m_owner->GetName();
  const char16_t* otherOwnerName = other->GetOwner()->GetName();
  if ((flags & TypeMatchIgnoreMemberNames) == 0 &&
      std::u16string_view(m_name) != std::u16string_view(other->GetName())) {
    LogWrite(LogLevelMatch, kLogTag,
             u"Match error when comparing members %s::%s and %s::%s: members have different names", ownerName, m_name,
             otherOwnerName, other->GetName());
    return false;
  }
  if (m_offset != other->GetOffset()) {
    LogWrite(LogLevelMatch, kLogTag,
             u"Match error when comparing members %s::%s and %s::%s: expected offset 0x%X, found 0x%X", ownerName,
             m_name, otherOwnerName, other->GetName(), m_offset, other->GetOffset());
    return false;
  }
  if (!m_type->Match(other->GetType(), flags)) {
    LogWrite(LogLevelMatch, kLogTag,
             u"Match error when comparing members %s::%s and %s::%s: expected type %s, found %s", ownerName, m_name,
             otherOwnerName, other->GetName(), m_type->GetName(), other->GetType()->GetName());
    return false;
  }
  return true;
}

}  // namespace

const ITypeMember* CreateTypeMember(const char16_t* name, const ITypeDescription* type, std::uint32_t offset,
                                    const ITypeDescription* owner) {
  try {
    MemberList& list = GetMemberList();
    auto member = std::make_unique<CTypeMember>(name, type, offset, owner);
    const ITypeMember* result = member.get();
    std::lock_guard<std::mutex> guard(list.mutex);
    list.members.push_back(std::move(member));
    return result;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
