// The datastore functions that a module names in its table `custom_funcs`.
//
// They are for servers that reach their datastores through that table. This host has its datastores in its own hands
// and never goes that way, so whoever calls them from outside is refused and nothing is read or changed.
#include "transapi/transapi.h"

namespace
{
constexpr int refused = 1;
}

extern "C" {

int custom_init(void*)
{
    return refused;
}

void custom_free(void*) {}

int custom_changed(void*)
{
    return 0;
}

int custom_rollback(void*)
{
    return refused;
}

int custom_lock(void*, NC_DATASTORE, const char*, struct nc_err**)
{
    return refused;
}

int custom_unlock(void*, NC_DATASTORE, const char*, struct nc_err**)
{
    return refused;
}

char* custom_getconfig(void*, NC_DATASTORE, struct nc_err**)
{
    return nullptr;
}

int custom_copyconfig(void*, NC_DATASTORE, NC_DATASTORE, char*, struct nc_err**)
{
    return refused;
}

int custom_deleteconfig(void*, NC_DATASTORE, struct nc_err**)
{
    return refused;
}

int custom_editconfig(void*, NC_DATASTORE, const char*, NC_EDIT_DEFOP_TYPE, NC_EDIT_ERROPT_TYPE, struct nc_err**)
{
    return refused;
}
}
