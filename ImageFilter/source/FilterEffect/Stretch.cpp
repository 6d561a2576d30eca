// Stretch: a name that hosts list and negotiate. It has no picture: the destination stays as it is.

#include "FilterEffect/Effects.h"

void Stretch(AVFrame* /*dst*/, AVFrame* /*src*/, FilterParams* /*params*/, int /*firstRow*/, int /*rowCount*/) {}
