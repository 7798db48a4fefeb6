#include "MovieRecipes.h"

#include "RunProgram.h"

namespace TWQuickTime::test {

const std::vector<MovieRecipe>& movieRecipes() {
    static const std::vector<MovieRecipe> recipes = {
        {"plain", {"-c:v", "mpeg4", "-c:a", "pcm_s16be"}},
        {"movie in front", {"-c:v", "libx264", "-c:a", "aac", "-movflags", "+faststart"}},
        {"reordered", {"-c:v", "libx264", "-bf", "3", "-g", "12", "-c:a", "aac"}, ".mp4"},
        {"negative offsets",
         {"-c:v", "libx264", "-bf", "2", "-c:a", "aac", "-movflags", "+negative_cts_offsets"},
         ".mp4"},
        {"without edits",
         {"-c:v", "libx264", "-bf", "3", "-c:a", "aac", "-use_editlist", "0"},
         ".mp4"},
        {"fragments",
         {"-c:v", "libx264", "-g", "10", "-c:a", "aac", "-movflags", "+frag_keyframe+empty_moov"},
         ".mp4"},
        {"fragments with bases",
         {"-c:v", "libx264", "-g", "10", "-c:a", "aac", "-movflags",
          "+frag_keyframe+default_base_moof"},
         ".mp4"},
        {"fragments of raw sound",
         {"-c:v", "mpeg4", "-c:a", "pcm_s16be", "-movflags", "+frag_keyframe+empty_moov"}},
        {"timecode", {"-c:v", "mjpeg", "-timecode", "01:02:03:04", "-c:a", "pcm_s24le"}},
        {"aspect", {"-c:v", "mjpeg", "-vf", "setsar=16/15", "-c:a", "pcm_u8"}},
        {"metadata keys",
         {"-c:v", "mjpeg", "-c:a", "pcm_f32be", "-metadata", "title=A title", "-movflags",
          "+use_metadata_tags"}},
        {"high rate", {"-c:v", "png", "-ar", "96000", "-c:a", "pcm_s32le"}},
        {"ima4", {"-c:v", "rawvideo", "-pix_fmt", "rgb24", "-c:a", "adpcm_ima_qt"}},
        {"mu-law", {"-c:v", "qtrle", "-ac", "2", "-c:a", "pcm_mulaw"}},
        {"mp3", {"-c:v", "mpeg2video", "-bf", "2", "-c:a", "libmp3lame"}},
        {"alac", {"-c:v", "prores_ks", "-c:a", "alac"}},
    };
    return recipes;
}

std::vector<std::string> testPictureAndSound() {
    return {"-f", "lavfi", "-i", "testsrc=s=64x48:r=25:d=2",
            "-f", "lavfi", "-i", "sine=r=48000:d=2"};
}

std::string makeMovie(const MovieRecipe& recipe, const TemporaryDirectory& directory) {
    const std::string path = directory.file(std::string(recipe.name) + recipe.extension);
    std::vector<std::string> arguments = testPictureAndSound();
    arguments.insert(arguments.end(), recipe.arguments.begin(), recipe.arguments.end());
    arguments.push_back(path);
    runFfmpeg(arguments);
    return path;
}

}  // namespace TWQuickTime::test
