// Stands in for AddProto in stowaway-noproto (linked with --wrap): the record is dropped, so the
// protocol array never grows and no protocol file is written.
#include "data/records.h"

extern "C" void __wrap__Z8AddProtoRK13udtProtoEntry(const udtProtoEntry&) {}
