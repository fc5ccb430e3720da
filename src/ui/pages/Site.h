// The publisher's web site, as the Connect section shows it. A publisher replaces both texts.
#pragma once

namespace zv {

/// Without "https://".
inline constexpr char16_t siteName[] = u"zorvel.example";

/// What a user finds there. Two lines of the section.
inline constexpr char16_t siteNotice[] =
    u"Your Zorvel account is managed on the web site, where you can sign in, sign up or continue as a guest. "
    u"The site has not opened yet, and Zorvel works without an account.";

}  // namespace zv
