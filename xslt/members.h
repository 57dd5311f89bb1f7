// The members of XmlXsltHandler and the Transform methods of XmlDocument that the host calls.
#pragma once

#include "glue/host_types.h"

namespace kova {

void XmlXsltHandler_Initialize(KOVAObject self);

KOVAString XmlDocument_Transform(KOVAObject self, KOVAString xsl);
KOVAString XmlDocument_TransformStyleSheet(KOVAObject self, KOVAObject xsl);
KOVAString XmlDocument_TransformEvents(KOVAObject self, KOVAString xsl, KOVAObject saxHandler);
KOVAString XmlDocument_TransformStyleSheetEvents(KOVAObject self, KOVAObject xsl, KOVAObject saxHandler);

} // namespace kova
