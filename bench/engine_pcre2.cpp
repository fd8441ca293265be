#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <memory>

#include "pattern_lookup.h"

namespace bench {
namespace {

// A JIT-compiled pattern and the buffer for its matches.
class Regex {
  public:
    explicit Regex(const std::string& pattern) {
        int error = 0;
        PCRE2_SIZE offset = 0;
        code_.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), 0,
                                  &error, &offset, nullptr));
        pcre2_jit_compile(code_.get(), PCRE2_JIT_COMPLETE);
        data_.reset(pcre2_match_data_create_from_pattern(code_.get(), nullptr));
    }

    bool Find(std::string_view text, PatternMatch& match) const {
        const int groups = pcre2_jit_match(code_.get(), reinterpret_cast<PCRE2_SPTR>(text.data()),
                                           text.size(), 0, 0, data_.get(), nullptr);
        if (groups <= 0) {
            return false;
        }
        const PCRE2_SIZE* const offsets = pcre2_get_ovector_pointer(data_.get());
        match.whole = text.substr(offsets[0], offsets[1] - offsets[0]);
        match.group = groups > 1 ? text.substr(offsets[2], offsets[3] - offsets[2]) : "";
        return true;
    }

  private:
    struct Free {
        void operator()(pcre2_code* code) const { pcre2_code_free(code); }
        void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
    };
    std::unique_ptr<pcre2_code, Free> code_;
    std::unique_ptr<pcre2_match_data, Free> data_;
};

}  // namespace

bool Pcre2CompiledOnce(const std::string& rules, std::wstring_view canonicalPath) {
    return LocksByPatterns<Regex, Regex>(rules, canonicalPath);
}

}  // namespace bench
