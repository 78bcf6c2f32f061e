#include "platform/posix/calls/search_pattern.h"

#include <algorithm>
#include <utility>

#include "platform/ascii.h"
#include "platform/posix/base/utf.h"

namespace Vellox::Posix {
namespace {

bool EqualsFolded(std::string_view first, std::string_view second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](char one, char other) { return FoldCase(one) == FoldCase(other); });
}

} // namespace

SearchPattern::SearchPattern(std::string_view text) {
    const bool endsInDot = text.back() == '.';
    text = text.substr(0, text.find_last_not_of('.') + 1);
    // What `*.*` takes is any text: up to the last dot, that dot, and the rest; or all, where there is no dot.
    const bool endsInAnyText = text.ends_with("*.*");
    if (endsInAnyText)
        text.remove_suffix(2);
    const bool leavesLastDot = endsInDot && !endsInAnyText && text.ends_with('*');
    const std::size_t star = text.find_first_of("*?");
    const bool isOnlyWildcard = text[star] == '*' && !HasWildcard(text.substr(star + 1));
    const bool isBehindDot = star > 0 && text[star - 1] == '.';
    if (!isOnlyWildcard || isBehindDot || leavesLastDot) {
        ReadSteps(text, leavesLastDot);
        return;
    }
    beforeStar_ = text.substr(0, star);
    behindStar_ = text.substr(star + 1);
}

void SearchPattern::ReadSteps(std::string_view text, bool endsInDot) {
    while (!text.empty()) {
        const Character character = TakeCharacter(text);
        const bool isBeforeDot = text.empty() ? endsInDot : text[0] == '.';
        const bool isBeforeWildcard = !text.empty() && (text[0] == '*' || text[0] == '?');
        Takes takes = Takes::ItsCharacter;
        if (character == '*')
            takes = isBeforeDot ? Takes::TextBeforeLastDot : Takes::AnyText;
        else if (character == '?')
            takes = Takes::OneButDot;
        else if (character == '.' && isBeforeWildcard)
            takes = Takes::DotOrEnd;
        steps_.push_back({takes, character});
    }
    reached_.resize(steps_.size() + 1);
}

SearchPattern::Character SearchPattern::TakeCharacter(std::string_view& text) {
    Character character = static_cast<unsigned char>(FoldCase(text[0]));
    std::size_t size = 1;
    for (; size < text.size() && IsContinuationByte(text[size]); ++size)
        character = character << 8 | static_cast<unsigned char>(text[size]);
    text.remove_prefix(size);
    return character;
}

bool SearchPattern::Matches(std::string_view name) {
    if (!steps_.empty())
        return MatchesSteps(name);
    return name.size() >= beforeStar_.size() + behindStar_.size() &&
           EqualsFolded(name.substr(0, beforeStar_.size()), beforeStar_) &&
           EqualsFolded(name.substr(name.size() - behindStar_.size()), behindStar_);
}

// Follows all ways through the steps at once, one character of the name after the other. So the work is bounded by the
// product of the lengths, however many wildcards there are.
bool SearchPattern::MatchesSteps(std::string_view name) {
    std::fill(reached_.begin(), reached_.end(), '\0');
    first_ = last_ = 0;
    reached_[0] = 1;
    auto dotsLeft = std::count(name.begin(), name.end(), '.');
    while (!name.empty()) {
        const Character character = TakeCharacter(name);
        SkipWhatTakesNothing(character);
        const bool isLastDot = character == '.' && --dotsLeft == 0;
        if (!Take(character, isLastDot))
            return false;
    }
    SkipWhatTakesNothing(0);
    return reached_.back() != 0;
}

void SearchPattern::Reach(std::size_t step) {
    reached_[step] = 1;
    first_ = std::min(first_, step);
    last_ = std::max(last_, step);
}

bool SearchPattern::MayTakeNothing(const Step& step, Character next) {
    switch (step.takes) {
    case Takes::AnyText:
    case Takes::TextBeforeLastDot: return true;
    case Takes::OneButDot: return next == 0 || next == '.';
    case Takes::DotOrEnd: return next == 0;
    default: return false;
    }
}

void SearchPattern::SkipWhatTakesNothing(Character next) {
    for (std::size_t step = first_; step <= last_ && step < steps_.size(); ++step)
        if (reached_[step] != 0 && MayTakeNothing(steps_[step], next))
            Reach(step + 1);
}

bool SearchPattern::TakesOne(const Step& step, Character character) {
    switch (step.takes) {
    case Takes::ItsCharacter: return step.character == character;
    case Takes::OneButDot: return character != '.';
    case Takes::DotOrEnd: return character == '.';
    default: return false;
    }
}

bool SearchPattern::TakesMore(const Step& step, bool isLastDot) {
    return step.takes == Takes::AnyText || (step.takes == Takes::TextBeforeLastDot && !isLastDot);
}

// From the last step to the first, so that no way takes the character twice. False if no way is left.
bool SearchPattern::Take(Character character, bool isLastDot) {
    const std::size_t first = std::exchange(first_, reached_.size());
    for (std::size_t step = std::exchange(last_, 0) + 1; step-- > first;) {
        if (std::exchange(reached_[step], '\0') == 0 || step == steps_.size())
            continue;
        if (TakesOne(steps_[step], character))
            Reach(step + 1);
        if (TakesMore(steps_[step], isLastDot))
            Reach(step);
    }
    return first_ <= last_;
}

} // namespace Vellox::Posix
