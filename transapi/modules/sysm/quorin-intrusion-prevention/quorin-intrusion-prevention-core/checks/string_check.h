/* Character-level checks of leaf texts and the normalisers of texts that go into command lines. They keep no state and
 * never allocate. White space is that of the POSIX locale; a byte of 0x80 and above never is.
 *
 * The result of a check means something different from function to function; each says which. */
#ifndef QN_IPS_STRING_CHECK_H
#define QN_IPS_STRING_CHECK_H

#include "transapi/transapi.h"

extern "C" {

/* 1 null or any byte that is no digit; 0 digits only, also when empty. Tells nobody. */
unsigned int ips_compare_string_is_not_number(const char *src);

/* 1 acceptable as the text of a leaf; 0 null, empty, white space at either end, or a '?' anywhere. Tells nobody. */
unsigned int ips_string_is_valid(const char *src);

/* 1 some byte is white space; 0 none is, or null. Tells nobody. */
unsigned int ips_contained_spaces_marks(const char *src);
unsigned int ips_contained_spaces_marks_temp(char *src);

/* 1 some byte is white space or '?'; 0 none is, or null. Tells nobody. */
unsigned int ips_contained_spaces_or_question_marks(const char *src);

/* Copies `src` without white space at either end. Returns `dst`; null, with `dst` untouched, when nothing remains or
 * what remains does not fit with its terminator. */
char *ips_remove_head_and_tail_all_spaces(const char *src, char *dst, int dst_len);

/* Writes the trimmed text in double quotes; leaves `dst` untouched when it cannot be trimmed. */
void ips_remove_head_and_tail_spaces_check(const char *src, char *dst, int dst_len);

/* Writes the text, trimmed if it holds white space, at most 127 bytes of it; leaves `dst` untouched when it cannot be
 * trimmed. `dst` has 128 bytes. */
void ips_remove_head_and_tail_spaces(const char *src, char *dst, int dst_len);

/* Copies an address with a blank for every '/'. `ip_out` must arrive zeroed and at least as long as the input: no
 * terminator is written. */
void ips_parse_ip(const char *ip_in, char *ip_out);

/* 1 the number is the id of a user-defined signature (1 to 1024); 0 not. Tells nobody. */
int ips_signature_id_check(const char *src);

/* The first byte equal to `iCh`, the terminator when `iCh` is 0, else null. */
char *ips_strchr(char *cStr, int iCh);

/* 0 acceptable as the text of a leaf; otherwise it has told the client, and the handler returns the result. */
int Check_CurValue_String_Is_Valid(API_ENV_S *env, const char *pcValue);
}

#endif
