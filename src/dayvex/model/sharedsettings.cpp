#include "sharedsettings.h"

#include "dayvexdata.h"

namespace dayvex {

SharedSettings &sharedSettings()
{
    static SharedSettings settings;
    return settings;
}

void resetSharedSettings()
{
    sharedSettings() = SharedSettings();
}

} // namespace dayvex
