#include "ui/commands/ToastRules.h"

#include <algorithm>
#include <array>

namespace zv {
namespace {

enum class Match {
    Beginning,  ///< the status begins with the first word
    AnyWord,    ///< it contains one of the words
    AllWords    ///< it contains all of them
};

struct ToastRule {
    Match match;
    bool lowered;                   ///< compare with a lower-case copy of the status
    std::array<TextView, 4> words;  ///< an empty one is unused
    TextView text;
    ToastKind kind = ToastKind::Replay;
};

/// The first match decides: a saved file wins over the rest of the text, a failure over its reasons.
constexpr ToastRule toastRules[] = {
    {Match::Beginning, false, {u"Screenshot saved:"}, u"Screenshot saved", ToastKind::Camera},
    {Match::AnyWord, false, {u"Recording saved"}, u"Recording saved", ToastKind::Record},
    {Match::AnyWord, false, {u"Replay saved"}, u"Clip saved"},
    {Match::AnyWord, false, {u"Clip saved"}, u"Clip saved"},
    {Match::AnyWord, false, {u"Recording started"}, u"Recording has started", ToastKind::Record},
    {Match::AnyWord, true, {u"failed", u"could not", u"cannot", u"error"}, u"Capture needs attention - check Status"},
    {Match::AnyWord, true, {u"paused", u"replay stopped"}, u"Instant replay is paused"},
    {Match::AnyWord, true, {u"warming up"}, u"Replay is warming up - try again shortly"},
    {Match::AnyWord, true, {u"progress", u"please wait"}, u"Capture is busy - please wait"},
    {Match::AnyWord, true, {u"speed check"}, u"Capture is too slow - lower quality in Settings"},
    {Match::AnyWord, true, {u"not available"}, u"This feature is not available"},
    {Match::AllWords, true, {u"stop", u"before"}, u"Stop recording before changing capture settings"},
    {Match::AnyWord, true, {u"missing"}, u"Capture runtime missing - check Status"},
};

bool Matches(const ToastRule& rule, TextView status) {
    const auto occurs = [&](TextView word) { return !word.empty() && Contains(status, word); };
    const auto absent = [&](TextView word) { return !word.empty() && !Contains(status, word); };
    switch (rule.match) {
        case Match::Beginning:
            return status.starts_with(rule.words[0]);
        case Match::AllWords:
            return std::none_of(rule.words.begin(), rule.words.end(), absent);
        case Match::AnyWord:
            break;
    }
    return std::any_of(rule.words.begin(), rule.words.end(), occurs);
}

}  // namespace

Toast ToastTextForStatus(TextView status) {
    const Text lowered = Lowered(status);
    for (const ToastRule& rule : toastRules) {
        if (Matches(rule, rule.lowered ? TextView(lowered) : status)) {
            return {Text(rule.text), rule.kind};
        }
    }
    return {};
}

Rectangle ToastBounds(const Rectangle& work, std::int32_t dpi) {
    constexpr std::int32_t margin = 16;
    constexpr std::int32_t belowTop = 64;
    const double scale = std::max(dpi / 96.0, 1.0);
    const auto scaled = [scale](std::int32_t length) { return static_cast<std::int32_t>(scale * length); };
    const std::int32_t left = work.right - scaled(margin) - scaled(toastWidth);
    const std::int32_t top = work.top + scaled(belowTop) + scaled(margin);
    return {left, top, left + scaled(toastWidth), top + scaled(toastHeight)};
}

}  // namespace zv
