#include "toolkit/io/dicom/library.h"

#include <dcmtk/dcmdata/dcrledrg.h>
#include <dcmtk/dcmjpeg/djdecode.h>
#include <dcmtk/dcmjpls/djdecode.h>
#include <dcmtk/oflog/oflog.h>

#include <mutex>

#include "toolkit/io/read_probe.h"
#include "toolkit/io/read_text.h"

namespace rzobl::dicom {

void prepare_library() {
    static std::once_flag once;
    std::call_once(once, [] {
        OFLog::configure(OFLogger::OFF_LOG_LEVEL);
        DcmRLEDecoderRegistration::registerCodecs();
        DJDecoderRegistration::registerCodecs();
        DJLSDecoderRegistration::registerCodecs();
    });
}

void load(DcmFileFormat& format, const std::filesystem::path& file) {
    if (!starts_as_dicom(file)) refuse("%s is not a DICOM file, though it is named like one", file.c_str());
    const OFCondition state = format.loadFile(file.c_str());
    if (state.bad())
        refuse("%s is damaged or cut short (%s)", file.c_str(), printable(lower_case(state.text())).c_str());
}

}  // namespace rzobl::dicom
