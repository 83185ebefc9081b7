// Reading and writing of grade files.
#include "host/GradeFile.h"

#include "src/platform/BPFiles.h"

#include <cstring>

BPStatus GradeFromBytes(const void* bytes, size_t byteCount, OCSettings* grade)
{
    uint32_t signature = 0;
    if (bytes == nullptr || byteCount != sizeof(OCSettings)) return bpInvalidSettingsErr;
    std::memcpy(&signature, bytes, sizeof(signature));
    if (signature != kOCSettingsSignature) return bpInvalidSettingsErr;
    std::memcpy(grade, bytes, sizeof(OCSettings));
    return bpNoErr;
}

BPStatus ReadGradeFile(const std::string& path, OCSettings* grade, std::string* error)
{
    std::vector<uint8_t> bytes;
    BPStatus err = BPReadFile(path.c_str(), sizeof(OCSettings), &bytes);
    if (err == bpFileNotFoundErr) {
        *error = "there is no file " + path;
        return err;
    }
    if (err == bpNoErr || err == bpParamErr)
        err = GradeFromBytes(bytes.data(), err == bpNoErr ? bytes.size() : 0, grade);
    if (err != bpNoErr) *error = path + " holds no grade";
    return err;
}

BPStatus WriteGradeFile(const std::string& path, const OCSettings& grade)
{
    return BPWriteFile(path.c_str(), &grade, sizeof(grade));
}
