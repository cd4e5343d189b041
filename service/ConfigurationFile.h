#ifndef TLG_SERVICE_CONFIGURATIONFILE_H
#define TLG_SERVICE_CONFIGURATIONFILE_H

#include <string>
#include <vector>

/// Reads the volume scheme from the text file "/zoapps/etc/volume.conf", which holds an entry such as
/// "scheme=1;". Nothing throws; whatever is wrong with the file gives scheme 0.
class ConfigurationFile {
public:
    virtual ~ConfigurationFile() = default;

    /// Fills @p buffer with zeros and reads at most @p size - 1 bytes of the file into it. False, logged,
    /// when the file can't be opened and when it is empty; a read that fails leaves zeros and gives true.
    static bool ReadFile(const std::string& path, char* buffer, int size);

    /// The decimal numbers in the text, in order; signs count as any other character, and a number wraps
    /// in 32 bits.
    static std::vector<unsigned int> GetIntFromStr(const std::string& text);

    /// The configured volume scheme, 0 or 1.
    static int ReadVolumeScheme();
};

#endif
