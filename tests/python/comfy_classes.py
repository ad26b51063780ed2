"""Node classes of a ComfyUI server and a usual graph of them."""

TEXT = ["STRING", {"multiline": True}]
SIZE = ["INT", {"default": 512, "min": 16, "max": 16384, "step": 8}]
SEED = ["INT", {"default": 0, "min": 0, "max": 18446744073709551615, "control_after_generate": True}]
CHECKPOINTS = [["base.safetensors", "xl.safetensors"]]
PICTURES = [["example.png"], {"image_upload": True}]
LIMITED = ["INT", {"default": 0, "min": 0, "max": 9223372036854775807}]
SAMPLERS = [["euler", "dpmpp_2m"]]
CFG = ["FLOAT", {"default": 8.0, "min": 0.0, "max": 100.0, "step": 0.1}]
COND = ["CONDITIONING"]
LINKS = {"positive": COND, "negative": COND, "model": ["MODEL"]}
NUMBER = ["INT", {"default": 8, "min": 1, "max": 4096}]
CLASSES = {
    # name: inputs, outputs, whether it is an output node
    "CheckpointLoaderSimple": ({"ckpt_name": CHECKPOINTS}, ["MODEL", "CLIP", "VAE"], False),
    "CLIPTextEncode": ({"text": TEXT, "clip": ["CLIP"]}, ["CONDITIONING"], False),
    "LoadImage": ({"image": PICTURES}, ["IMAGE", "MASK"], False),
    "EmptyLatentImage": ({"width": SIZE, "height": SIZE, "batch_size": ["INT", {}]}, ["LATENT"], False),
    "ControlNetApplyAdvanced": ({"positive": COND, "negative": COND, "image": ["IMAGE"]}, [*COND, *COND], False),
    "KSampler": ({**LINKS, "seed": SEED, "steps": ["INT", {}], "latent_image": ["LATENT"]}, ["LATENT"], False),
    "VAEDecode": ({"samples": ["LATENT"], "vae": ["VAE"]}, ["IMAGE"], False),
    "SaveImage": ({"images": ["IMAGE"], "filename_prefix": ["STRING", {}]}, [], True),
    "PreviewImage": ({"images": ["IMAGE"]}, [], True),
    "FullSampler": (
        {
            **{"model": ["MODEL"], "seed": SEED, "steps": ["INT", {"default": 20, "min": 1, "max": 10000}], "cfg": CFG},
            **{"sampler_name": SAMPLERS, "scheduler": [["normal", "karras"]], "positive": COND, "negative": COND},
            **{"latent_image": ["LATENT"], "denoise": ["FLOAT", {"default": 1, "min": 0.0, "max": 1.0, "step": 0.01}]},
        },
        ["LATENT"],
        False,
    ),
    "Encoders": ({"clip": ["CLIP"], "clip_l": TEXT, "t5xxl": TEXT, "guidance": CFG}, COND, False),
    "TwoSides": ({"positive": TEXT, "negative": TEXT}, [*COND, *COND], False),
    "TwoGuides": ({"model": ["MODEL"], "cond1": COND, "cond2": COND, "negative": COND}, ["GUIDER"], False),
    "GuidedSampler": ({"guider": ["GUIDER"], "latent_image": ["LATENT"], "noise_seed": LIMITED}, ["LATENT"], False),
    "Join": ({"string_a": TEXT, "string_b": TEXT, "delimiter": ["STRING", {}]}, ["STRING"], False),
    "ImageInvert": ({"image": ["IMAGE"], "mask": ["MASK", {"optional": True}]}, ["IMAGE"], False),
    "Steps": (
        {"seed": ["INT", {"min": 10, "max": 99, "step": 10}], "on": ["BOOLEAN", {"default": True}], "by": SAMPLERS},
        ["INT"],
        False,
    ),
    "Numbers": ({"scale": [[0.5, 1.0]]}, ["FLOAT"], False),
    "LoadImageMask": ({"image": PICTURES, "channel": [["alpha", "red"]]}, ["MASK"], False),
    "Grown": ({"first": TEXT, "gained": ["INT", {"default": 3}], "last": TEXT}, ["STRING"], False),
    "Unclear": ({"a": TEXT, "b": ["INT", {}], "c": ["INT", {}], "d": TEXT}, ["STRING"], False),
    "StringNode": ({"value": TEXT}, ["STRING"], False),
    "IntNode": ({"value": ["INT", {}]}, ["INT"], False),
    "EmptyImage": ({"width": NUMBER, "height": NUMBER, "batch_size": NUMBER, "color": ["INT", {}]}, ["IMAGE"], False),
    "ImageCrop": ({"image": ["IMAGE"], "width": NUMBER, "height": NUMBER, "x": ["INT", {}], "y": ["INT", {}]}, ["IMAGE"], False),
    "SaveImageWebsocket": ({"images": ["IMAGE"]}, [], True),
}


def class_info(name):
    if name not in CLASSES:
        return {}
    inputs, outputs, is_output = CLASSES[name]
    groups = {"required": {}, "optional": {}}
    for member, spec in inputs.items():
        groups["optional" if "optional" in spec[-1] else "required"][member] = spec
    return {name: {"input": groups, "output": outputs, "output_node": is_output}}


def graph():
    """A usual graph in API format: the guide through a ControlNet into a sampler."""

    def node(kind, title="", **inputs):
        return {"class_type": kind, "inputs": inputs, "_meta": {"title": title or kind}}

    guided = {"positive": ["6", 0], "negative": ["6", 1]}
    return {
        "1": node("CheckpointLoaderSimple", ckpt_name="base.safetensors"),
        "2": node("CLIPTextEncode", text="a house", clip=["1", 1]),
        "3": node("CLIPTextEncode", text="blurry", clip=["1", 1]),
        "4": node("LoadImage", image="example.png"),
        "5": node("EmptyLatentImage", width=512, height=512, batch_size=1),
        "6": node("ControlNetApplyAdvanced", positive=["2", 0], negative=["3", 0], image=["4", 0]),
        "7": node("KSampler", "Paint", seed=5, steps=4, model=["1", 0], **guided, latent_image=["5", 0]),
        "8": node("VAEDecode", samples=["7", 0], vae=["1", 2]),
        "9": node("SaveImage", images=["8", 0], filename_prefix="ComfyUI"),
    }
