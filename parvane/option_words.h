// What the words of options mean.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "desk/options.h"
#include "parvane/options.h"

namespace parvane {

// The words that stand for an option's values.
template <typename Choice>
struct Word {
  const char* name;
  Choice choice;
};

inline constexpr Word<desk::MapiChoice> kMapiWords[] = {{"builtin", desk::MapiChoice::kBuiltin},
                                                        {"outlook", desk::MapiChoice::kOutlook}};
inline constexpr Word<desk::Dedup> kDedupWords[] = {
    {"off", desk::Dedup::kOff}, {"folder", desk::Dedup::kFolder}, {"all", desk::Dedup::kAll}};
inline constexpr Word<engine::SeparatorRule> kSeparatorWords[] = {
    {"standard", engine::SeparatorRule::kStandard}, {"strict", engine::SeparatorRule::kStrict}};
inline constexpr Word<std::optional<factory::SourceKind>> kSourceWords[] = {
    {"auto", std::nullopt},
    {"mbox", factory::SourceKind::kMbox},
    {"thunderbird", factory::SourceKind::kThunderbird},
    {"maildir", factory::SourceKind::kMaildir},
    {"mh", factory::SourceKind::kMh},
    {"eml", factory::SourceKind::kEml},
    {"apple-mail", factory::SourceKind::kAppleMail},
    {"archive", factory::SourceKind::kArchive},
    {"takeout", factory::SourceKind::kTakeout}};
inline constexpr Word<std::optional<engine::LabelUse>> kLabelWords[] = {
    {"folders", engine::LabelUse::kFolders},
    {"copies", engine::LabelUse::kCopies},
    {"off", engine::LabelUse::kOff}};

// What `keep` may list, with commas between them.
std::string NamesOfKeepGroups();

// Each yields the complaint about a word that means nothing; empty: all mean something, and are in
// `options`. Options are named as on the command line. Sources and destination are not touched.
std::string Understand(const SourceOptions& words, desk::SourceOptions& options);
std::string Understand(const ConvertOptions& words, desk::ConvertOptions& options);

}  // namespace parvane
