#include <re2/re2.h>

#include "pattern_lookup.h"

namespace bench {
namespace {

class Regex {
  public:
    explicit Regex(const std::string& pattern) : regex_(pattern, Latin1()) {}

    bool Find(std::string_view text, PatternMatch& match) const {
        const re2::StringPiece bytes(text.data(), text.size());
        re2::StringPiece found[2];
        const int wanted = 1 + regex_.NumberOfCapturingGroups();
        if (!regex_.Match(bytes, 0, bytes.size(), RE2::UNANCHORED, found, wanted)) {
            return false;
        }
        match = {{found[0].data(), found[0].size()}, {found[1].data(), found[1].size()}};
        return true;
    }

  private:
    // One character per byte, because rule files can be invalid UTF-8.
    static RE2::Options Latin1() {
        RE2::Options options;
        options.set_encoding(RE2::Options::EncodingLatin1);
        return options;
    }

    RE2 regex_;
};

}  // namespace

bool Re2CompiledOnce(const std::string& rules, std::wstring_view canonicalPath) {
    return LocksByPatterns<Regex, Regex>(rules, canonicalPath);
}

}  // namespace bench
