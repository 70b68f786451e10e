#import <KorvaneSDK/KorvaneSDK.h>

#include "korvane/version.h"

double KorvaneSDKVersionNumber = KORVANE_VERSION_NUMBER;
const unsigned char KorvaneSDKVersionString[] = KORVANE_SDK_VERSION_TEXT;
