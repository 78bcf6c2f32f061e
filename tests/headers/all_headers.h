#include <vellox/fileobjects.h>
#include <vellox/filesystem.h>
#include <vellox/frame.h>
#include <vellox/pathtext.h>
#include <vellox/processes.h>
#include <vellox/songs.h>
#include <vellox/trash.h>
