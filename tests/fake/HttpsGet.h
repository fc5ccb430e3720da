// A web with one file. Both functions are recorded and can be made to fail (Calls.h).
#pragma once

#include <string>
#include <vector>

#include "platform/HttpsGet.h"

namespace zv::fake {

struct WebControls {
    std::string body;                                 ///< of every answer
    std::size_t blockLimit = 65536;                   ///< the largest block that a read returns
    HttpsFailure failure = HttpsFailure::NotReached;  ///< of an opening that fails
    std::vector<Text> addresses;                      ///< that were opened
    std::vector<Text> agents;                         ///< with these names
};

/// Set it only while no worker uses it.
WebControls& TheWeb();

/// The transfers that have not been closed.
int OpenTransfers();

}  // namespace zv::fake
