#include "KrTheme3DFactory.h"

namespace KRN {
KrTheme3DFactory::~KrTheme3DFactory() = default;
}
