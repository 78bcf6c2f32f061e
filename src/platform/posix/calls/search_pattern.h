#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Vellox::Posix {

// What the names of a folder are compared with, as FindFirstFile of Windows reads it. A `*` is any text, and a
// character is itself in either case of A to Z. But a pattern falls into a stem and an extension where it has a dot:
//   a?.*   a `?` is one character but a dot, or nothing in front of a dot and at the end: a, ab, a.x, ab.x
//   a.*    a dot in front of a wildcard is a dot, or the end of the name: a, a.x
//   a*.?   a `*` in front of a dot takes no text that the last dot of the name is in: a, a.x, a.b.x, but not a.xy
//   a*.    a dot at the end leaves no dot to the `*` but those in front of the name's last one: a, ab
class SearchPattern {
public:
    explicit SearchPattern(std::string_view text);

    static bool HasWildcard(std::string_view text) { return text.find_first_of("*?") != std::string_view::npos; }

    bool Matches(std::string_view name);

private:
    // The bytes of a character in UTF-8, A to Z as small letters; 0 behind the last one of a name.
    using Character = std::uint32_t;
    enum class Takes { ItsCharacter, AnyText, TextBeforeLastDot, OneButDot, DotOrEnd };
    struct Step {
        Takes takes;
        Character character;
    };

    static Character TakeCharacter(std::string_view& text);
    static bool MayTakeNothing(const Step& step, Character next);
    static bool TakesOne(const Step& step, Character character);
    static bool TakesMore(const Step& step, bool isLastDot);

    void ReadSteps(std::string_view text, bool endsInDot);
    bool MatchesSteps(std::string_view name);
    void Reach(std::size_t step);
    void SkipWhatTakesNothing(Character next);
    bool Take(Character character, bool isLastDot);

    // A `*` and no other wildcard, which most patterns are: the two ends are compared, and there are no steps.
    std::string beforeStar_;
    std::string behindStar_;

    std::vector<Step> steps_;
    // For each step whether the name, as far as it is read, can lead in front of it, and the first and last such step.
    std::vector<char> reached_;
    std::size_t first_ = 0;
    std::size_t last_ = 0;
};

} // namespace Vellox::Posix
