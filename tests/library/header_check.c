/* Compiled as C99 and as C++ by the test suite: the public headers must be
 * clean under -Wall -Wextra -Werror -pedantic in both languages. */
#include "xvosc.h"
#include "xvocore.h"

int header_check_uses_types(void);
int header_check_uses_types(void) {
    const XvoLibraryVersion* v = xvoscGetLibVersion();
    Xvo32sc c = {1, 2};
    Xvo32fc f = {1.0f, 2.0f};
    XvoSpeechRate r = XVO_BITRATE_16000;
    XvoStatus s = xvoStsOk;
    return (int)(v != 0) + c.re + (int)f.im + (int)r + (int)s;
}
