s/^\.TH "NorixEngine\.h"/.TH "NorixEngine"/
s/^NorixEngine\.h \\- NorixEngine: /NorixEngine \\- /
/^\.SH SYNOPSIS/a\
.nf\
#include <NorixEngine/NorixEngine.h>\
.sp\
cc \\fIfile\\fP... $(pkg\\-config \\-\\-cflags \\-\\-libs NorixEngine libavutil)\
.fi
