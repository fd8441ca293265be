#include <regex>

#include "pattern_lookup.h"

namespace bench {
namespace {

bool Search(std::string_view text, const std::regex& regex, PatternMatch& match) {
    std::match_results<std::string_view::const_iterator> groups;
    if (!std::regex_search(text.begin(), text.end(), groups, regex)) {
        return false;
    }
    const auto view = [](const auto& group) {
        return group.matched ? std::string_view(&*group.first, static_cast<size_t>(group.length()))
                             : std::string_view();
    };
    match = {view(groups[0]), view(groups[1])};
    return true;
}

class Regex {
  public:
    explicit Regex(const std::string& pattern) : regex_(pattern) {}

    bool Find(std::string_view text, PatternMatch& match) const {
        return Search(text, regex_, match);
    }

  private:
    std::regex regex_;
};

// Compiles its pattern again for each search, as a function that gets the key as a parameter does.
class RegexPerSearch {
  public:
    explicit RegexPerSearch(std::string pattern) : pattern_(std::move(pattern)) {}

    bool Find(std::string_view text, PatternMatch& match) const {
        return Search(text, std::regex(pattern_), match);
    }

  private:
    std::string pattern_;
};

}  // namespace

bool StdRegexPerField(const std::string& rules, std::wstring_view canonicalPath) {
    return LocksByPatterns<Regex, RegexPerSearch>(rules, canonicalPath);
}

bool StdRegexCompiledOnce(const std::string& rules, std::wstring_view canonicalPath) {
    return LocksByPatterns<Regex, Regex>(rules, canonicalPath);
}

}  // namespace bench
