// The publish/subscribe client interface, as far as this system uses it: the parser of PPS text, the
// decoder of structured attribute values and the encoder that renders them. The names, the argument
// lists and the results are the platform's; the library that implements them on the host is our own.
#ifndef TLG_SYS_PPS_H
#define TLG_SYS_PPS_H

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

// ---- Parser ------------------------------------------------------------------------------------

/// What one line of PPS text was.
typedef enum {
    PPS_ERROR = -1,        ///< a malformed line
    PPS_END = 0,           ///< no more text
    PPS_OBJECT,            ///< "@name"
    PPS_OBJECT_CREATED,    ///< "+@name"
    PPS_OBJECT_DELETED,    ///< "-@name"
    PPS_OBJECT_TRUNCATED,  ///< "#@name"
    PPS_ATTRIBUTE,         ///< "name:encoding:value"
    PPS_ATTRIBUTE_DELETED, ///< "-name"
    PPS_OBJECT_OVERFLOWED  ///< "|@name"
} pps_status_t;

/// Bits of pps_attrib_t::options and option_mask.
typedef enum {
    PPS_NOPERSIST = 0x1 ///< the qualifier "n": the attribute or object does not survive a restart
} pps_options_t;

/// One parsed line. The strings point into the parsed text, which the parser changes in place.
typedef struct {
    char* obj_name;  ///< name of the object last seen, without "@"; null before the first
    int obj_index;   ///< index of obj_name in the caller's list, -1 when not listed
    char* attr_name; ///< attribute name without qualifiers
    int attr_index;  ///< index of attr_name in the caller's list, -1 when not listed
    char* encoding;
    char* value;
    int flags;       ///< always 0
    int options;     ///< the qualifiers that are set
    int option_mask; ///< the qualifiers that the line names, set or cleared
    int quality;     ///< always 0
    int line;        ///< number of the line in the text, from 1
    int reserved[3];
} pps_attrib_t;

/// Parses the next line of PPS text.
///
/// @param ppsdata     in: the text's next byte, zero-terminated and writable; out: the byte after the line
/// @param objnames    null, or a null-terminated list of object names to report as obj_index
/// @param attrnames   null, or a null-terminated list of attribute names to report as attr_index
/// @param info        receives the line; must be zeroed before the first line of a text
/// @param parse_flags 0
/// @return what the line was; PPS_ERROR for a malformed line, after which parsing may go on
pps_status_t ppsparse(char** ppsdata, const char* const* objnames, const char* const* attrnames, pps_attrib_t* info,
                      int parse_flags);

// ---- Decoder -----------------------------------------------------------------------------------

typedef enum {
    PPS_DECODER_OK = 0,
    PPS_DECODER_NO_MEM,
    PPS_DECODER_BAD_TYPE, ///< the element exists and has another type
    PPS_DECODER_DELETED,
    PPS_DECODER_NOT_FOUND, ///< no such element, or the end of the array or object
    PPS_DECODER_PARSE_ERROR
} pps_decoder_error_t;

typedef enum {
    PPS_TYPE_NULL,
    PPS_TYPE_BOOL,
    PPS_TYPE_NUMBER,
    PPS_TYPE_STRING,
    PPS_TYPE_ARRAY,
    PPS_TYPE_OBJECT,
    PPS_TYPE_NONE,
    PPS_TYPE_DELETED
} pps_node_type_t;

struct pps_decoder_state;

/// A decoder; all of it is private to the library.
typedef struct {
    struct pps_decoder_state* state;
} pps_decoder_t;

/// Prepares a decoder. @p text, where not null, is parsed as by pps_decoder_parse_json_str.
pps_decoder_error_t pps_decoder_initialize(pps_decoder_t* decoder, char* text);

/// Parses JSON text in place: strings handed out later point into @p text, which must live as long as
/// they are used. Nesting of any depth costs heap, not stack. The position is then at the root.
pps_decoder_error_t pps_decoder_parse_json_str(pps_decoder_t* decoder, char* text);

/// Enters the object or array @p name (null: the current element). A push that fails changes no
/// position, and the pop that belongs to it does nothing.
pps_decoder_error_t pps_decoder_push(pps_decoder_t* decoder, const char* name);

/// Leaves the object or array last entered; the position moves to the element after it.
pps_decoder_error_t pps_decoder_pop(pps_decoder_t* decoder);

/// Reads the element @p name (null: the current one) and moves past it. On an error the output and
/// the position stay as they were, and the error is remembered. An integer has no fraction and no exponent and
/// fits 32 bits. A double is the one nearest to the text; a number outside the range of doubles is of the wrong type.
pps_decoder_error_t pps_decoder_get_int(pps_decoder_t* decoder, const char* name, int* value);
pps_decoder_error_t pps_decoder_get_double(pps_decoder_t* decoder, const char* name, double* value);
pps_decoder_error_t pps_decoder_get_string(pps_decoder_t* decoder, const char* name, const char** value);

/// The type of the element @p name (null: the current one); no error is remembered.
pps_node_type_t pps_decoder_type(pps_decoder_t* decoder, const char* name);

/// Number of elements of the object or array that the position is in.
int pps_decoder_length(pps_decoder_t* decoder);

/// The first error since the last clearing, or PPS_DECODER_OK; @p clear forgets it.
pps_decoder_error_t pps_decoder_status(pps_decoder_t* decoder, bool clear);

/// Releases the decoder. Strings that it handed out stay valid as long as the text does.
void pps_decoder_cleanup(pps_decoder_t* decoder);

// ---- Encoder -----------------------------------------------------------------------------------

typedef enum {
    PPS_ENCODER_OK = 0,
    PPS_ENCODER_NO_MEM,
    PPS_ENCODER_BAD_NESTING,
    PPS_ENCODER_INVALID_VALUE,
    PPS_ENCODER_MISSING_ATTRIBUTE_NAME
} pps_encoder_error_t;

struct pps_encoder_state;

/// An encoder; all of it is private to the library.
typedef struct {
    struct pps_encoder_state* state;
} pps_encoder_t;

/// Prepares an encoder for JSON text or, with @p encodeJSON false, for PPS text: there the outermost
/// object is the object's "@name" line, its scalars are plain attribute lines, and the objects and
/// arrays in it are attribute lines of encoding json. Once a call has failed, all later ones fail.
void pps_encoder_initialize(pps_encoder_t* encoder, bool encodeJSON);

pps_encoder_error_t pps_encoder_start_object(pps_encoder_t* encoder, const char* name);
pps_encoder_error_t pps_encoder_end_object(pps_encoder_t* encoder);
pps_encoder_error_t pps_encoder_start_array(pps_encoder_t* encoder, const char* name);
pps_encoder_error_t pps_encoder_end_array(pps_encoder_t* encoder);

/// Adds a member of the given name, or, in an array, an element (then @p name is null).
pps_encoder_error_t pps_encoder_add_int(pps_encoder_t* encoder, const char* name, int value);
pps_encoder_error_t pps_encoder_add_double(pps_encoder_t* encoder, const char* name, double value);
pps_encoder_error_t pps_encoder_add_bool(pps_encoder_t* encoder, const char* name, bool value);
pps_encoder_error_t pps_encoder_add_string(pps_encoder_t* encoder, const char* name, const char* value);

/// The finished text, zero-terminated, owned by the encoder; null after an error and while an object
/// or array is open.
const char* pps_encoder_buffer(pps_encoder_t* encoder);

/// Length of the finished text in bytes; 0 where pps_encoder_buffer is null.
int pps_encoder_length(pps_encoder_t* encoder);

void pps_encoder_cleanup(pps_encoder_t* encoder);

#ifdef __cplusplus
}
#endif

#endif
