// The precompiled headers need a source that includes them.
