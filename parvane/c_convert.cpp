#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "parvane/c_api.h"
#include "parvane/c_guard.h"
#include "parvane/convert.h"

using parvane::Account;
using parvane::ConvertOptions;

struct parvane_options {
  ConvertOptions words;
};

struct parvane_account {
  explicit parvane_account(Account of) : account(std::move(of)) {}

  Account account;
  std::optional<std::string> summary, report;
};

namespace {

struct Option {
  std::string_view name;
  std::string ConvertOptions::*word = nullptr;
  bool ConvertOptions::*flag = nullptr;
  std::vector<std::string> ConvertOptions::*list = nullptr;
};
constexpr Option kOptions[] = {
    {"from", &ConvertOptions::from},
    {"name", &ConvertOptions::name},
    {"keep", &ConvertOptions::keep},
    {"skip-deleted", nullptr, &ConvertOptions::skipDeleted},
    {"skip-junk", nullptr, &ConvertOptions::skipJunk},
    {"folder", nullptr, nullptr, &ConvertOptions::folder},
    {"exclude", nullptr, nullptr, &ConvertOptions::exclude},
    {"since", &ConvertOptions::since},
    {"until", &ConvertOptions::until},
    {"separators", &ConvertOptions::separators},
    {"labels", &ConvertOptions::labels},
    {"mapi", &ConvertOptions::mapi},
    {"append", nullptr, &ConvertOptions::append},
    {"overwrite", nullptr, &ConvertOptions::overwrite},
    {"skip-existing", nullptr, &ConvertOptions::skipExisting},
    {"resume", nullptr, &ConvertOptions::resume},
    {"dedup", &ConvertOptions::dedup},
    {"size-limit", &ConvertOptions::sizeLimit},
    {"split", &ConvertOptions::split},
    {"log", &ConvertOptions::log},
    {"detailed-log", &ConvertOptions::detailedLog},
    {"report", &ConvertOptions::report},
    {"timings", nullptr, &ConvertOptions::timings},
};

class CObserver : public parvane::Observer {
 public:
  explicit CObserver(const parvane_observer* observer) {
    if (observer) _observer = *observer;
  }

  void OnProgress(const parvane::Progress& progress) override {
    if (!_observer.progress) return;
    _folder = progress.folder;
    _observer.progress(_observer.context, _folder.c_str(), progress.done, progress.total,
                       progress.messages);
  }
  void OnNotice(std::string_view text) override {
    if (_observer.notice) _observer.notice(_observer.context, std::string(text).c_str());
  }
  bool IsCancelled() const override {
    return _observer.cancelled && _observer.cancelled(_observer.context) != 0;
  }

 private:
  parvane_observer _observer = {};
  std::string _folder;
};

using Call = Account (*)(const std::vector<std::string>&, const std::string&, const ConvertOptions&,
                         parvane::Observer*);

parvane_account* Run(Call call, const char* const* sources, size_t count, const char* destination,
                     const parvane_options* options, const parvane_observer* observer) {
  return parvane::Guarded<parvane_account*>(nullptr, [&] {
    CObserver watching(observer);
    return new parvane_account(call(std::vector<std::string>(sources, sources + count),
                                    destination ? destination : "",
                                    options ? options->words : ConvertOptions(), &watching));
  });
}

}  // namespace

const char* parvane_version(void) { return PARVANE_VERSION; }

parvane_options* parvane_options_new(void) {
  return parvane::Guarded<parvane_options*>(nullptr, [] { return new parvane_options; });
}

void parvane_options_free(parvane_options* options) { delete options; }

int parvane_options_set(parvane_options* options, const char* name, const char* value) {
  return parvane::Guarded(-1, [&] {
    for (const Option& option : kOptions) {
      if (option.name != name) continue;
      ConvertOptions& words = options->words;
      if (option.flag) {
        words.*option.flag = true;
      } else if (option.list) {
        (words.*option.list).emplace_back(value ? value : "");
      } else {
        words.*option.word = value ? value : "";
      }
      return 0;
    }
    return -1;
  });
}

parvane_account* parvane_convert(const char* const* sources, size_t count, const char* destination,
                                 const parvane_options* options, const parvane_observer* observer) {
  return Run(parvane::Convert, sources, count, destination, options, observer);
}

parvane_account* parvane_scan(const char* const* sources, size_t count, const char* destination,
                              const parvane_options* options, const parvane_observer* observer) {
  return Run(parvane::Scan, sources, count, destination, options, observer);
}

void parvane_account_free(parvane_account* account) { delete account; }

int parvane_account_outcome(const parvane_account* account) {
  return static_cast<int>(account->account.outcome());
}
const char* parvane_account_error(const parvane_account* account) {
  return account->account.error().c_str();
}
uint64_t parvane_account_read(const parvane_account* account) { return account->account.read(); }
uint64_t parvane_account_written(const parvane_account* account) {
  return account->account.written();
}
uint64_t parvane_account_failed(const parvane_account* account) {
  return account->account.failed();
}

const char* parvane_account_summary(parvane_account* account) {
  return parvane::Guarded<const char*>(nullptr, [&] {
    if (!account->summary) account->summary = account->account.Summary();
    return account->summary->c_str();
  });
}

const char* parvane_account_report(parvane_account* account) {
  return parvane::Guarded<const char*>(nullptr, [&] {
    if (!account->report) {
      std::string report;
      account->account.WriteReport([&](std::string_view text) { report += text; });
      account->report = std::move(report);
    }
    return account->report->c_str();
  });
}
