// The item that is being converted, as the steps see it, and how much of what they carry came
// along.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "convert/conversion_step.h"
#include "engine/item_step.h"
#include "engine/message_state.h"

namespace parvane::carry {

enum class MailCount : std::size_t { kHeaders, kDates, kInline, kParts };
inline constexpr std::size_t kMailCounts = static_cast<std::size_t>(MailCount::kParts) + 1;
using MailCounts = std::array<std::uint32_t, kMailCounts>;

class MailObserver {
 public:
  // Of the message in hand, before it is saved.
  virtual void MailCarried(const MailCounts& counts) = 0;

 protected:
  ~MailObserver() = default;
};

class ItemInHand : public engine::ItemStep {
 public:
  explicit ItemInHand(MailObserver& observer) : _observer(observer) {}
  void BeforeConversion(QuelmarMIMEEngineCommon::IAsset& item) override;
  void BeforeSave(QuelmarMIMEEngineCommon::IAsset& item, mapi::IMessage& message) override;

  // Only while the item is converted from mail.
  const convert::IMailAsset& mail() const { return *_mail; }
  // Null: its source does not tell.
  const engine::MessageState* state() const { return _state; }
  void Count(MailCount count) { ++_counts[static_cast<std::size_t>(count)]; }

 private:
  MailObserver& _observer;
  const convert::IMailAsset* _mail = nullptr;
  const engine::MessageState* _state = nullptr;
  MailCounts _counts{};
};

}  // namespace parvane::carry
