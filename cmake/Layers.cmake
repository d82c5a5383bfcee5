# The layers of the library, lowest first. A folder may include only its own
# layer and those listed before it (checked by cmake/CheckLayering.cmake).
#
# The platform's rooms: the object model; the system seams (environment,
# folders, clocks, files), which need nothing but the object model so that
# every room above can reach the outside world through them; values; the
# collections that hold values; archives of collections; the queues and run
# loops that deliver work; bundles (folders of resources described by a
# property list); and the user defaults, which read a bundle's identity.
# Above them the scripting room: descriptors, scripts run as executables and
# users' Unix tasks, which need JSON, queues and bundles.
set(TQ_PLATFORM_ROOMS object system value collection archive dispatch bundle defaults script)
# The subsystems, built on the whole platform. Colour sits below settings:
# the defaults store reads and writes colours in their text forms.
set(TQ_SUBSYSTEMS collections logging colour settings encodings dates keys concurrency system)
