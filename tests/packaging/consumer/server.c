/* The smallest server that can load the module: it provides every service that the module leaves undefined, opens the
 * library and looks at its tables. Written in C, which the server contract supports as well as C++. */
#include <transapi/transapi.h>

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

/* No callback is ever called here, so a service that is reached means a fault. */
#define UNREACHED(type, name, parameters)                                                                              \
    type name parameters                                                                                               \
    {                                                                                                                  \
        fputs(#name " was called\n", stderr);                                                                          \
        abort();                                                                                                       \
    }

const char* g_product_name_for_dp = NULL;

UNREACHED(int, transapi_comm_with_zell,
          (msg_dp_zell_head_t header, unsigned operation, msg_to_dp_t** reply, struct nc_err** error, void* extra))
UNREACHED(unsigned, api_script_cache_lines, (char* vsys, char* view, char* view_type, char* line))
UNREACHED(int, fail_nc_err, (struct nc_err * *error, char* message, char* second, int kind, NC_ERR code))
UNREACHED(const char*, get_node_content, (const xmlNode* node))
UNREACHED(XMLDIFF_OP, transapi_transform_op, (XMLDIFF_OP op))
UNREACHED(XMLDIFF_OP, priority_transapi_find_parent_op_by_xmldiff, (void** data, int level))
UNREACHED(XMLDIFF_OP, priority_transapi_find_parent_children_op_by_xmldiff, (void** data, int level, char* name))
UNREACHED(XMLDIFF_OP, priority_transapi_find_bro_op_by_xmldiff, (void** data, int level, char* name))
UNREACHED(char*, priority_transapi_find_parent_key_node_content, (int level, xmlNodePtr node, char* name))
UNREACHED(unsigned long long, SOS_Free, (void** slot, char* file, unsigned long long line))
UNREACHED(int, custom_init, (void* data))
UNREACHED(void, custom_free, (void* data))
UNREACHED(int, custom_changed, (void* data))
UNREACHED(int, custom_rollback, (void* data))
UNREACHED(int, custom_lock, (void* data, NC_DATASTORE target, const char* session_id, struct nc_err** error))
UNREACHED(int, custom_unlock, (void* data, NC_DATASTORE target, const char* session_id, struct nc_err** error))
UNREACHED(char*, custom_getconfig, (void* data, NC_DATASTORE target, struct nc_err** error))
UNREACHED(int, custom_copyconfig,
          (void* data, NC_DATASTORE target, NC_DATASTORE source, char* config, struct nc_err** error))
UNREACHED(int, custom_deleteconfig, (void* data, NC_DATASTORE target, struct nc_err** error))
UNREACHED(int, custom_editconfig,
          (void* data, NC_DATASTORE target, const char* config, NC_EDIT_DEFOP_TYPE defop, NC_EDIT_ERROPT_TYPE erropt,
           struct nc_err** error))
UNREACHED(int, memcpy_s, (void* dest, size_t dest_max, const void* src, size_t count))
UNREACHED(int, memset_s, (void* dest, size_t dest_max, int c, size_t count))
UNREACHED(int, strncpy_s, (char* dest, size_t dest_max, const char* src, size_t count))
UNREACHED(int, snprintf_s, (char* dest, size_t dest_max, size_t count, const char* format, ...))

static const void* symbol(void* library, const char* name)
{
    const void* address = dlsym(library, name);
    if (address == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        exit(1);
    }
    return address;
}

int main(int argc, char** argv)
{
    void* library;
    const struct transapi_data_callbacks* callbacks;
    int count;
    const struct ncds_custom_funcs* functions;

    if (argc != 2) {
        fprintf(stderr, "usage: %s MODULE.so\n", argv[0]);
        return 2;
    }
    library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    if (*(const int*)symbol(library, "transapi_version") != TRANSAPI_VERSION) {
        fprintf(stderr, "the module speaks another version of the interface\n");
        return 1;
    }
    functions = symbol(library, "custom_funcs");
    if (functions->editconfig != custom_editconfig) {
        fprintf(stderr, "the module does not name this server's datastore\n");
        return 1;
    }
    callbacks = symbol(library, "clbks");
    count = callbacks->callbacks_count;
    printf("%s: %d callbacks\n", argv[1], count);
    dlclose(library);
    return count == 308 ? 0 : 1;
}
