#include "rules/anchor_search.h"

#include <algorithm>

#ifdef __SSE2__
#include <emmintrin.h>

#include <bit>
#endif

namespace kelvaro {
namespace {

constexpr size_t kLetters = 3;
constexpr size_t kExtension = 4;

// Returns true only if every rule for a path with `byte` contains this byte, in either case and
// perhaps after a backslash. Some control characters have escapes of their own, and separators have
// several spellings.
bool IsPlain(char byte) noexcept {
    const auto value = static_cast<unsigned char>(byte);
    return value > 0x20 && value != 0x7F && byte != '\\';
}

#ifdef __SSE2__
constexpr size_t kBlock = 16;

// Compares sixteen positions at once. Reports every position where Anchor::Matches is true, and
// some where it is not.
class BlockFilter {
  public:
    explicit BlockFilter(const std::array<char, kLetters>& letters) noexcept
        : first_(_mm_set1_epi8(letters[0])),
          second_(_mm_set1_epi8(letters[1])),
          third_(_mm_set1_epi8(letters[2])) {}

    __m128i Candidates(const char* bytes) const noexcept {
        const __m128i next = Load(bytes + 1);
        const __m128i afterNext = Load(bytes + 2);
        const __m128i unescaped = _mm_and_si128(
            Equal(next, second_),
            _mm_or_si128(Equal(afterNext, third_), _mm_cmpeq_epi8(afterNext, backslash_)));
        const __m128i follows = _mm_or_si128(unescaped, _mm_cmpeq_epi8(next, backslash_));
        return _mm_and_si128(Equal(Load(bytes), first_), follows);
    }

  private:
    static __m128i Load(const char* bytes) noexcept {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    }
    __m128i Equal(__m128i bytes, __m128i letter) const noexcept {
        return _mm_cmpeq_epi8(_mm_or_si128(bytes, case_), letter);
    }

    __m128i case_ = _mm_set1_epi8(0x20);
    __m128i backslash_ = _mm_set1_epi8('\\');
    __m128i first_;
    __m128i second_;
    __m128i third_;
};
#endif

}  // namespace

std::optional<Anchor> Anchor::Choose(std::string_view canonicalPath) noexcept {
    std::optional<Anchor> chosen;
    for (size_t at = 0; at + kLetters <= canonicalPath.size(); ++at) {
        const bool inExtension = at + kLetters + kExtension > canonicalPath.size();
        if (inExtension && chosen) {
            break;
        }
        const std::string_view bytes = canonicalPath.substr(at, kLetters);
        if (std::all_of(bytes.begin(), bytes.end(), IsPlain)) {
            chosen = Anchor(at, {LooseFold(bytes[0]), LooseFold(bytes[1]), LooseFold(bytes[2])});
        }
    }
    return chosen;
}

bool Anchor::Matches(std::string_view bytes) const noexcept {
    if (bytes.empty() || LooseFold(bytes[0]) != letters_[0]) {
        return false;
    }
    size_t at = 1;
    for (size_t letter = 1; letter < kLetters; ++letter) {
        if (at < bytes.size() && bytes[at] == '\\') {
            ++at;
        }
        if (at >= bytes.size() || LooseFold(bytes[at]) != letters_[letter]) {
            return false;
        }
        ++at;
    }
    return true;
}

size_t Anchor::FindPlain(std::string_view bytes, size_t from) const noexcept {
    for (size_t at = from; at < bytes.size(); ++at) {
        if (Matches(bytes.substr(at))) {
            return at;
        }
    }
    return std::string_view::npos;
}

size_t Anchor::Find(std::string_view bytes, size_t from) const noexcept {
#ifdef __SSE2__
    const BlockFilter filter(letters_);
    for (; from + kBlock + kLetters <= bytes.size(); from += kBlock) {
        auto candidates =
            static_cast<unsigned>(_mm_movemask_epi8(filter.Candidates(bytes.data() + from)));
        for (; candidates != 0; candidates &= candidates - 1) {
            const size_t at = from + static_cast<size_t>(std::countr_zero(candidates));
            if (Matches(bytes.substr(at))) {
                return at;
            }
        }
    }
#endif
    return FindPlain(bytes, from);
}

}  // namespace kelvaro
