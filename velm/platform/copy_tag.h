// utCopy: asks a constructor of a container for a copy.
#pragma once

enum utCopyTag { utCopy };
