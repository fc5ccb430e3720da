// The cards of the Recommended page. The publisher's "recommended.ini" beside the executable has them, and the folder
// "recommended-images" their pictures. Any thread.
#pragma once

#include <vector>

#include "core/Text.h"

namespace zv {

struct Recommendation {
    Text title;
    Text description;
    Text url;    ///< an https address, or empty
    Text image;  ///< the full path of a picture, which may not exist, or empty
    bool operator==(const Recommendation&) const = default;
};

/// Reads up to six cards from the "recommended.ini" in `folder`. A card without a title is left out. A value that fails
/// its check is empty.
std::vector<Recommendation> ReadRecommendations(TextView folder);

}  // namespace zv
