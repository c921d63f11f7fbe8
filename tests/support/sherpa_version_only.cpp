/// Stands in for sherpa-onnx where tests need one of another version, or one that lacks functions.
extern "C" const char* SherpaOnnxGetVersionStr() {
    return MURMELO_TOLD_VERSION;
}
