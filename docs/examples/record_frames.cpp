// Records a few frames of one approaching target below /tmp, as a radar service does.
//
//     record_frames [FRAMES]

#include <cstdlib>
#include <iostream>

#include "config/analytics.h"
#include "config/configuration.h"
#include "filewriter/object_file_writer_thread.h"
#include "log/ilog.h"
#include "socket/socket_buffer.h"

int main(int argc, char** argv) {
    const long frames = argc > 1 ? std::atol(argv[1]) : 3;
    Radar::ObjectFileWriterThread recorder(0x2050);
    recorder.configure("FileWriterFileTime", 60);
    recorder.configure("FileWriterEnabled", 1);

    Radar::SocketBuffer frame(64);
    for (long i = 0; i < frames; ++i) {
        RO::TargetData* target = frame.add_targets();
        if (target == nullptr) {
            Petrel::ilog(2) << "The frame is full" << std::endl;
            return 1;
        }
        target->set_r(50.0F - static_cast<float>(i));
        target->set_rdot(-1.0F);
        frame.set_timestamp(static_cast<unsigned long long>(1000000 * i));
        recorder.write(frame);
        frame.send();  // to nobody yet, which only empties it
    }
    std::cout << "Recorded " << frames << " frames, mounting height " << get_height()
              << ", known settings " << Radar::Configuration::instance->conf.size() << std::endl;
    return 0;  // the recorder stores what is queued and completes its file
}
