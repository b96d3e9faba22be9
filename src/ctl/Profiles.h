// The profiles of the users of this computer, as the registry lists them. For administrators. Throws Failure.
#pragma once

#include <string>
#include <vector>

#include "common/WideText.h"

namespace ctl {

struct Profile {
    std::string name;  // of the user, without a domain; for messages and --user
    WideString folder;
};

// Those of people: accounts of this computer, of a domain or of a directory, not of services.
std::vector<Profile> allProfiles();
// The user's name in any case, with or without "domain\".
Profile profileOf(const WideString& user);
// Windows copies this one for each new user.
Profile profileOfNewUsers();

}  // namespace ctl
