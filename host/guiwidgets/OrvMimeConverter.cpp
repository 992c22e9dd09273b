#include "OrvMimeConverter.h"

#include "OrvMimeConverterRegistry.h"

#include <QMimeData>

OrvMimeConverter::OrvMimeConverter() { OrvSingleton<OrvMimeConverterRegistry>::instance()->add(this); }

OrvMimeConverter::~OrvMimeConverter() { OrvSingleton<OrvMimeConverterRegistry>::instance()->remove(this); }

int OrvMimeConverter::count(const QMimeData* mimeData) const { return mimeData ? 1 : 0; }
