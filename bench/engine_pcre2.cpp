#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <memory>

#include "engines.h"
#include "rules/rule_fields.h"

namespace bench {
namespace {

// One pattern with its native code and a place for its matches.
class Pattern {
  public:
    explicit Pattern(const char* text) {
        int error = 0;
        PCRE2_SIZE offset = 0;
        code_.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(text), PCRE2_ZERO_TERMINATED, 0,
                                  &error, &offset, nullptr));
        pcre2_jit_compile(code_.get(), PCRE2_JIT_COMPLETE);
        match_.reset(pcre2_match_data_create_from_pattern(code_.get(), nullptr));
    }

    bool Search(std::string_view text, size_t from) const {
        return pcre2_jit_match(code_.get(), reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(),
                               from, 0, match_.get(), nullptr) > 0;
    }
    size_t Begin(int group) const { return pcre2_get_ovector_pointer(match_.get())[2 * group]; }
    size_t End(int group) const { return pcre2_get_ovector_pointer(match_.get())[2 * group + 1]; }
    std::string_view Group(std::string_view text, int group) const {
        return text.substr(Begin(group), End(group) - Begin(group));
    }

  private:
    struct Free {
        void operator()(pcre2_code* code) const { pcre2_code_free(code); }
        void operator()(pcre2_match_data* match) const { pcre2_match_data_free(match); }
    };
    std::unique_ptr<pcre2_code, Free> code_;
    std::unique_ptr<pcre2_match_data, Free> match_;
};

}  // namespace

bool Pcre2Compiled(const std::string& rules, std::wstring_view canonicalPath) {
    static const Pattern object(R"(\{[^\{\}]*+\})");
    static const Pattern type(R"re("type"\s*:\s*"([^"]*)")re");
    static const Pattern enabled(R"re("enabled"\s*:\s*(true|false))re");
    static const Pattern target(R"re("target"\s*:\s*"([^"]*)")re");
    for (size_t from = 0; object.Search(rules, from); from = object.End(0)) {
        const std::string_view text = object.Group(rules, 0);
        if (!type.Search(text, 0) || kelvaro::UnescapeJsonString(type.Group(text, 1)) != "exe") {
            continue;
        }
        if (enabled.Search(text, 0) && enabled.Group(text, 1) == "false") {
            continue;
        }
        if (target.Search(text, 0) &&
            IsTarget(kelvaro::UnescapeJsonString(target.Group(text, 1)), canonicalPath)) {
            return true;
        }
    }
    return false;
}

}  // namespace bench
