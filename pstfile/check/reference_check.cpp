#include "pstfile/check/reference_check.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "pstfile/check/tree_walk.h"
#include "pstfile/ndb/block_format.h"

namespace parvane::pstfile::check {
namespace {

constexpr std::size_t kBlocksAtOnce = std::size_t{1} << 20;

// The ids and counts of a stretch of the block tree.
class Window : public TreeVisitor {
 public:
  // Starts behind the window before.
  void Advance() {
    _from = _to;
    _bids.clear();
    _stored.clear();
    _full = false;
  }
  void OnBlock(const BlockRecord& block) override {
    if (block.bid.value <= _from || _full) return;
    if (_bids.size() == kBlocksAtOnce) {
      _full = true;
      return;
    }
    _bids.push_back(block.bid.value);
    _stored.push_back(block.references);
  }
  // Ends the collection. The windows together cover every id there can be.
  void Close() {
    _to = _full ? _bids.back() : std::numeric_limits<std::uint64_t>::max();
    _counted.assign(_bids.size(), 0);
  }
  bool last() const { return !_full; }

  // False when the reference leads to no block of the file.
  bool Count(BlockId bid) {
    if (bid.value <= _from || bid.value > _to) return true;
    const auto found = std::lower_bound(_bids.begin(), _bids.end(), bid.value);
    if (found == _bids.end() || *found != bid.value) return false;
    ++_counted[static_cast<std::size_t>(found - _bids.begin())];
    return true;
  }

  void Compare(Reporter& reporter) const {
    for (std::size_t i = 0; i < _bids.size(); ++i) {
      if (_counted[i] == 0) {
        reporter.Habit(codes::kOrphanBlock, Say("block ", Hex{_bids[i]}, ": nothing refers to it"));
      } else if (_stored[i] != _counted[i] + 1) {
        reporter.Error(codes::kReferenceCount,
                       Say("block ", Hex{_bids[i]}, ": cRef is ", _stored[i], ", expected ",
                           std::uint64_t{_counted[i]} + 1, " for ", _counted[i], " references"));
      }
    }
  }

 private:
  std::uint64_t _from = 0;
  std::uint64_t _to = 0;
  bool _full = false;
  std::vector<std::uint64_t> _bids;
  std::vector<std::uint16_t> _stored;
  std::vector<std::uint32_t> _counted;
};

// Follows everything that refers to blocks.
class Counter : public TreeVisitor {
 public:
  Counter(Image& image, Reporter& reporter, Window& window)
      : _image(image), _reporter(reporter), _window(window) {}

  void OnNode(const NodeRecord& node) override {
    const auto where = [&] { return Say("node ", node.nid); };
    Refer(node.data, where);
    Refer(node.sub, where);
  }

  void OnBlock(const BlockRecord& record) override {
    if (!record.bid.IsInternal()) return;
    const auto slice = _image.ReadBlock(record);
    if (!slice) return;
    _referred.clear();
    AppendReferences(slice->bytes(), _referred);
    const auto where = [&] { return Say("block ", record.bid); };
    for (const BlockId bid : _referred) Refer(bid, where);
  }

 private:
  template <typename Where>
  void Refer(BlockId bid, const Where& where) {
    if (!bid || _window.Count(bid)) return;
    _reporter.Error(codes::kDanglingReference,
                    Say(where(), ": refers to block ", bid, ", which does not exist"));
  }

  Image& _image;
  Reporter& _reporter;
  Window& _window;
  std::vector<BlockId> _referred;  // by the block at hand
};

}  // namespace

void CheckReferences(Image& image, Reporter& reporter, const Survey& survey) {
  // To find out which count is wrong takes counting.
  if (survey.referencesAreRight()) return;
  Window window;
  Counter counter(image, reporter, window);
  do {
    window.Advance();
    WalkTree(image, TreeKind::kBlocks, window, nullptr);
    window.Close();
    WalkTree(image, TreeKind::kNodes, counter, nullptr);
    WalkTree(image, TreeKind::kBlocks, counter, nullptr);
    window.Compare(reporter);
  } while (!window.last());
}

}  // namespace parvane::pstfile::check
