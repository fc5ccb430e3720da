#include "feeds/Recommendations.h"

#include <utility>

#include "platform/Files.h"
#include "platform/ProfileFile.h"

namespace zv {
namespace {

constexpr int cardLimit = 6;

bool IsLink(TextView url) {
    constexpr TextView scheme = u"https://";
    return url.starts_with(scheme) && url.size() > scheme.size() && url.find_first_of(u"\r\n\t ") == TextView::npos;
}

/// Returns false for a path with a folder or a drive, in the notation of either system.
bool IsBareFileName(TextView name) {
    return !name.empty() && name != u"." && name != u".." && name.find_first_of(u"/\\:") == TextView::npos;
}

Recommendation ReadCard(TextView folder, int number) {
    const Text file = JoinPath(folder, u"recommended.ini");
    const Text section = u"Card" + Decimal(number);
    Recommendation card;
    card.title = ReadProfileText(file, section, u"Title");
    if (card.title.empty()) {
        return card;
    }
    card.description = ReadProfileText(file, section, u"Description");
    const Text url = ReadProfileText(file, section, u"URL");
    if (IsLink(url)) {
        card.url = url;
    }
    const Text image = ReadProfileText(file, section, u"Image");
    if (IsBareFileName(image)) {
        card.image = JoinPath(JoinPath(folder, u"recommended-images"), image);
    }
    return card;
}

}  // namespace

std::vector<Recommendation> ReadRecommendations(TextView folder) {
    std::vector<Recommendation> cards;
    for (int number = 1; number <= cardLimit; ++number) {
        Recommendation card = ReadCard(folder, number);
        if (!card.title.empty()) {
            cards.push_back(std::move(card));
        }
    }
    return cards;
}

}  // namespace zv
