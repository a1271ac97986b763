// The usage text, word for word, as the program prints it on standard error.
#pragma once

inline constexpr const char* kUsageText =
    "\n\n"
    "Usage: velmora <options> <obj model> <list of other obj model(s)>\n"
    "\n"
    "  <options> can be:\n"
    "    -s1 to -s8  : VMag star to show (default: -s6 and up to 8)\n"
    "    -tex <file> : specifiy particular All.texture for Milky Way textures\n"
    "                  (default: Images/ALL.texture)\n"
    "    -notex      : no Milky Way texture\n"
    "    -fullscreen : to set fullscreen mode\n"
    "    -h or -?    : this help menu\n"
    "\n"
    "  <obj model> is the obj model to align against the sky\n"
    "\n"
    "  <list of other obj model(s)>\n"
    "     allows users to specify more obj models as fixed objects\n"
    "     on the sky for alignment reference\n"
    "\n";
