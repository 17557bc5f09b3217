// The item that is being converted, as the steps see it, and how much of what they carry came
// along.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "carry/step_chain.h"

namespace parvane::carry {

enum class MailCount : std::size_t { kHeaders, kDates, kInline, kParts };
inline constexpr std::size_t kMailCounts = static_cast<std::size_t>(MailCount::kParts) + 1;
using MailCounts = std::array<std::uint32_t, kMailCounts>;

class MailObserver {
 public:
  // Of the mail in hand, when it has been converted.
  virtual void MailCarried(const MailCounts& counts) = 0;

 protected:
  ~MailObserver() = default;
};

// The last of its chain, since it tells what the others have counted.
class ItemInHand : public MailStep {
 public:
  explicit ItemInHand(MailObserver& observer) : _observer(observer) {}
  void Begin(const convert::IMailAsset& mail) override;
  void MailWritten(const convert::MailInHand& mail, mapi::IMessage& message) override;

  // While it is converted.
  const convert::IMailAsset& mail() const { return *_mail; }
  void Count(MailCount count) { ++_counts[static_cast<std::size_t>(count)]; }

 private:
  MailObserver& _observer;
  const convert::IMailAsset* _mail = nullptr;
  MailCounts _counts{};
};

}  // namespace parvane::carry
