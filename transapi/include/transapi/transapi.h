/* The whole server contract. */
#ifndef TRANSAPI_TRANSAPI_H
#define TRANSAPI_TRANSAPI_H

#include "transapi/bounded_string.h"
#include "transapi/callback_table.h"
#include "transapi/command_platform.h"
#include "transapi/datastore.h"
#include "transapi/edit_operation.h"
#include "transapi/first_signature_set.h"
#include "transapi/handler_environment.h"
#include "transapi/module_type.h"
#include "transapi/netconf_error.h"
#include "transapi/server_services.h"

#endif
