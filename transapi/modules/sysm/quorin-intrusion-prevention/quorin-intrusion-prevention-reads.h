/* What the server reads through the module: configuration and state. The module keeps neither; it asks the command
 * platform. */
#ifndef QUORIN_INTRUSION_PREVENTION_READS_H
#define QUORIN_INTRUSION_PREVENTION_READS_H

#include "quorin-intrusion-prevention.h"

extern "C" {

/* 1 the device has the IPS function, or its product is not known; 0 it has not. */
int IPS_FuncEnabled(void);

/* The state as a document that passes to the server; null on failure. Empty on a device without the IPS function. */
xmlDocPtr get_state_data(xmlDocPtr model, xmlDocPtr running, struct nc_err **err);

/* The configuration as a text from malloc that passes to the server; null on failure. */
char *perform_getconfig(void *data, NC_DATASTORE target, struct nc_err **error);

/* Nothing to do: the command platform keeps the configuration. Returns 0. */
int perform_copyconfig(void *data, NC_DATASTORE target, NC_DATASTORE source, char *config, struct nc_err **error);

/* The name of a profile's first signature set, in double quotes if it holds white space; null when there is none or the
 * platform does not say. It stands in g_acIPSFirstSigSetName until the next call. */
char *IPS_GetFirstSigSet(const char *vsys, const char *profile);
}

#endif
