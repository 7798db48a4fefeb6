// The kinds of movies that ffmpeg can write, for tests that go over all of them.
//
//     for (const MovieRecipe& recipe : movieRecipes())
//         open(makeMovie(recipe, directory));
#pragma once

#include <string>
#include <vector>

#include "TemporaryDirectory.h"

namespace TWQuickTime::test {

struct MovieRecipe {
    const char* name;
    std::vector<std::string> arguments;
    const char* extension = ".mov";
};

const std::vector<MovieRecipe>& movieRecipes();

/// ffmpeg's arguments for two seconds of a test picture and of a tone, the inputs of all recipes.
std::vector<std::string> testPictureAndSound();

/// Makes the movie and returns its path.
std::string makeMovie(const MovieRecipe& recipe, const TemporaryDirectory& directory);

}  // namespace TWQuickTime::test
