#include "tools/cli/signals.h"
#include "tools/log_sink.h"
#include "tools/program.h"

int main(int argc, char** argv) {
    begin_to_log();
    Tools::prepare_process();
    return static_cast<int>(Tools::run_program(argc, argv));
}
